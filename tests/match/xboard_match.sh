#!/usr/bin/env bash
# Two games of the engine against itself as a user plays them: xboard runs the match and is the
# referee, polyglot translates between its protocol and UCI. Passes if both games end by a rule of
# chess, nobody forfeits, and the engines end well.
#
# The executable's path comes in MORVANE_ENGINE. Ends with status 77 if a program is missing.
set -euo pipefail

PATH="$PATH:/usr/games" # where Debian puts xboard and polyglot
for program in xvfb-run xboard polyglot; do
    if ! command -v "$program" >/dev/null; then
        echo "skipped: $program is not installed"
        exit 77
    fi
done
engine=$(readlink -f "${MORVANE_ENGINE:?must name the executable of the engine}")

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
ln -s "$engine" engine
export HOME="$folder" # xboard and polyglot keep their settings there

write_adapter() { # NAME THREADS
    cat >"$1.ini" <<END
[PolyGlot]
EngineName = Morvane-$1
EngineDir = .
EngineCommand = ./engine
Book = false
Resign = false
Log = true
LogFile = $1.log
[Engine]
Hash = 16
Threads = $2
END
}
write_adapter a 1
write_adapter b 2

# A new clock every 40 moves: polyglot knows no increment below a second, and without one the last
# moves of a long game would hang on single milliseconds.
match=(-fcp "polyglot a.ini" -scp "polyglot b.ini" -fd . -sd . -mg 2 -mps 40 -tc 0:04 -inc -1
    -sgf games.pgn -xexit)
status=0
# The time limit is xboard's, inside: whatever happens, xvfb-run then takes its display down.
xvfb-run -a timeout -k 5 170 xboard -noGUI "${match[@]}" </dev/null >xboard.out 2>&1 || status=$?

fail() {
    echo "FAILED: $1"
    grep -v -e '^ALSA' -e '^aplay' xboard.out | tail -n 20
    [ ! -e games.pgn ] || cat games.pgn
    tail -n 20 ./*.log
    exit 1
}
# The comment that stands before the result at the end of a game.
endings() {
    tr '\n' ' ' <games.pgn | grep -oE '\{[^{}]*\} (1-0|0-1|1/2-1/2|\*)' | grep -v '^{[-+]\?[0-9]'
}

[ "$status" -eq 0 ] || fail "xboard ended with status $status"
[ -s games.pgn ] || fail "no game was saved"
grep -E '^\[(White|Black|Result) ' games.pgn
endings || fail "no result was told"
[ "$(grep -cE '^\[Result "(1-0|0-1|1/2-1/2)"\]' games.pgn)" -eq 2 ] || fail "not two results"
[ "$(endings | wc -l)" -eq 2 ] || fail "not two endings"
rule='mate|repetition|(50|fifty)[- ]move|insufficient|material|adjudication'
[ "$(endings | grep -ciE "$rule")" -eq 2 ] || fail "a game ended by no rule of chess"
bad='forfeit|illegal|exited|died|resign|disconnect|abandon|flag|time'
! endings | grep -iE "$bad" || fail "a game ended by a mistake"
! grep -aiE 'illegal|exited unexpectedly|forfeits' ./*.log xboard.out ||
    fail "a log tells of a mistake"
for log in a.log b.log; do
    grep -q 'Engine->Adapter: bestmove' "$log" || fail "$log holds no move"
    grep -q 'Child exited with status 0' "$log" || fail "the engine of $log did not end well"
done
echo "moves told: $(cat ./[ab].log | grep -c 'Engine->Adapter: bestmove')"
