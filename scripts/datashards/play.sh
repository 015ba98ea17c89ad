# shellcheck shell=sh
# Plays shards of a run in the folder that it runs in: that of the run, or one on another machine, which GNU parallel
# fills before and empties afterwards. Other machines have this file as `play`, gzip, sha256sum and POSIX tools.
#
#   sh play NUMBER games=N seed=S [OPTION=NUMBER...]    one shard
#   sh play --task INDEX TASKS                          of those that `missing` lists, every TASKS-th
#
# A shard is shards/NUMBER.gz and its record, shards/NUMBER.json. What has a record is made, and not played again.
# DATAGEN_ENGINE names the engine if it is not ./engine.
set -eu
engine=${DATAGEN_ENGINE:-./engine}

sum_of() { # FILE
    sha256sum <"$1" | cut -d ' ' -f 1
}

print_record() { # TEXT SHA-256-OF-THE-ENGINE games=N seed=S [OPTION=NUMBER...]
    text=$1 build=$2 games=${3#games=} seed=${4#seed=}
    shift 4
    options=
    for option; do options="$options${options:+, }\"$option\""; done
    # Earlier engines do not tell their revision.
    revision=$("$engine" --version </dev/null 2>&1 | sed -n '1s/.*, revision \([0-9A-Za-z.+-]*\).*/\1/p')
    printf '{"format": 1, "first_seed": %s, "games": %s, "options": [%s],' "$seed" "$games" "$options"
    printf ' "engine": {"revision": "%s", "sha256": "%s"},' "${revision:-unknown}" "$build"
    printf ' "positions": %d, "bytes": %d,' "$(wc -l <"$text")" "$(wc -c <"$text")"
    printf ' "sha256": "%s"}\n' "$(sum_of "$text")"
}

leave() {
    status=$?
    rm -f "$part" "$part.gz" "$part.json"
    [ $status -eq 0 ] || echo "shard $number: not made" >&2
}

play() { # NUMBER games=N seed=S [OPTION=NUMBER...]
    number=$1
    shift
    [ ! -e "shards/$number.json" ] || return 0
    mkdir -p shards
    # A job may outlive a killed run and meet its own repetition, and in a container every process is the first.
    part=shards/$number.part.$(uname -n).$$
    trap leave EXIT
    trap 'exit 1' HUP INT TERM
    build=$(sum_of "$engine")
    "$engine" datagen "$@" "out=$part"
    [ "$(sum_of "$engine")" = "$build" ] || { echo "$engine was changed while it played" >&2 && exit 1; }
    print_record "$part" "$build" "$@" >"$part.json"
    gzip -n "$part"
    # The record last: a shard without one, or with that of an earlier shard, is not made.
    mv -f "$part.gz" "shards/$number.gz"
    mv -f "$part.json" "shards/$number.json"
}

play_task() { # INDEX TASKS
    begun=$(sed -n 's/^engine=//p' settings)
    [ "$(sum_of "$engine")" = "$begun" ] || {
        echo "$engine is another build of the engine than that of the run: $begun" >&2
        exit 1
    }
    failed=
    for number in $(awk -v task="$1" -v tasks="$2" 'NR % tasks == task % tasks' missing); do
        # shellcheck disable=SC2046 # a line of the plan is several words
        sh "$0" "$number" $(sed -n "${number}p" plan) || failed=yes
    done
    [ -z "$failed" ]
}

case $1 in
    --task) play_task "$2" "$3" ;;
    *) play "$@" ;;
esac
