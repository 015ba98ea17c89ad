# shellcheck shell=bash
# Sourced by scripts that build an engine which is guided by a profile of its own work, after
# scripts/ensure-packages.sh and, for one that runs on Windows, scripts/wine.sh.

# run_built FOLDER ARGUMENT...: runs the engine in a build folder.
run_built() {
    if [ -e "$1/morvane.exe" ]; then
        wine64 "$1/morvane.exe" "${@:2}"
    else
        "$1/morvane" "${@:2}"
    fi
}

# train FOLDER TRAINING: what the engine in a build folder does for its profile. Deep searches of ten positions, and
# games from opening to end game with shallow searches. On one thread, without a clock: the profile is the same each
# time. It leaves the node counts of the first part in TRAINING/counts.
train() {
    run_built "$1" benchsearch 2>"$2/log" | counts >"$2/counts" && [ -s "$2/counts" ] &&
        run_built "$1" datagen games=8 nodes=8000 maxplies=160 seed=1 progress=0 out="$2/games.txt" >"$2/log" 2>&1 || {
        cat "$2/log" >&2
        false
    }
}
counts() { sed -n 's/^bench: \([0-9]* nodes [0-9]* qnodes\).*/\1/p'; }

# build_by_profile PRESET [CMAKE-ARGUMENT...]: builds build/PRESET/morvane twice, first to count how often each branch
# is taken in training, then optimised by these counts, and compares what both search. An engine that does not run here,
# but on other machines, is built without a profile.
build_by_profile() {
    local folder=build/$1 built
    build_step GENERATE "$@"
    rm -rf "$folder/profile" "$folder/training"
    mkdir -p "$folder/training"
    if ! run_built "$folder" --version </dev/null >"$folder/training/log" 2>&1; then
        cat "$folder/training/log" >&2
        echo "$folder/morvane does not run on this machine, so it is built without a profile" >&2
        build_step "" "$@"
        return
    fi
    if ! train "$folder" "$folder/training"; then
        echo "the training of $folder/morvane failed" >&2
        return 1
    fi
    if compgen -G "$folder/profile/*.profraw" >/dev/null; then # clang++ writes raw counts
        command -v llvm-profdata >/dev/null || ensure_packages llvm
        llvm-profdata merge -o "$folder/profile/merged.profdata" "$folder"/profile/*.profraw
    fi

    build_step USE "$@"
    built=$(run_built "$folder" benchsearch | counts)
    if [ "$built" != "$(cat "$folder/training/counts")" ]; then
        echo "the profiled build searches differently: $built, not $(cat "$folder/training/counts")" >&2
        return 1
    fi
    echo "$folder/morvane: $built"
}
build_step() { # MORVANE_PROFILE PRESET [CMAKE-ARGUMENT...]
    cmake --preset "$2" -DMORVANE_PROFILE="$1" "${@:3}" >/dev/null
    cmake --build --preset "$2"
}
