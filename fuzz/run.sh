#!/usr/bin/env bash
# fuzz/run.sh - a timed fuzzing run of the libFuzzer targets.
#
#   fuzz/run.sh [-j N] [--merge] SECONDS [TARGET...]
#
# Builds only the needed fuzz_<name> programs of the `fuzz` preset (build/fuzz), then runs each
# target (all of them, or the named ones; "containers" and "fuzz_containers" both work) for
# SECONDS from a scratch copy of fuzz/corpus/<name>/. Targets are discovered from the corpus
# folders that have a fuzz_<name> target in the build, so new targets need no change here.
#
#   -j N      run N targets at a time (default 1)
#   --merge   add the new interesting inputs, minimised with -merge=1, to fuzz/corpus/<name>/
#   --keep    keep the scratch directory even when nothing was found
#
# Prints one line per target: runs, coverage, features, corpus growth and findings. Exits 1 when
# a target found a crash, leak or timeout; its inputs are kept under the scratch directory
# named in the output (crash-*, leak-*, timeout-*, oom-*) with the target's log.
set -u

usage() {
    sed -n '3,17p' "$0" | sed 's/^# \{0,1\}//' >&2
    exit 2
}

jobs=1
merge=0
keep=0
while [ $# -gt 0 ]; do
    case "$1" in
    -j) [ $# -ge 2 ] || usage; jobs="$2"; shift 2 ;;
    -j*) jobs="${1#-j}"; shift ;;
    --merge) merge=1; shift ;;
    --keep) keep=1; shift ;;
    -h | --help) usage ;;
    --) shift; break ;;
    -*) echo "run.sh: unknown option $1" >&2; usage ;;
    *) break ;;
    esac
done
[ $# -ge 1 ] || usage
seconds="$1"
shift
case "$seconds" in '' | *[!0-9]*) echo "run.sh: SECONDS must be a whole number" >&2; usage ;; esac
case "$jobs" in '' | *[!0-9]* | 0) echo "run.sh: -j needs a positive number" >&2; usage ;; esac

root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build/fuzz"
cd "$root" || exit 2
export CCACHE_DIR="${CCACHE_DIR:-$HOME/.cache/ccache}" CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1

if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake --preset fuzz >"$root/build/fuzz-configure.log" 2>&1 ||
        { cat "$root/build/fuzz-configure.log" >&2; exit 2; }
fi
# Re-run the configure step so that targets added since the last build appear.
cmake "$build" >/dev/null || exit 2
known="$(cmake --build "$build" --target help | sed -n 's/^\.\.\. \(fuzz_[A-Za-z0-9_]*\)$/\1/p' |
    grep -v '_replay$')"

names=()
if [ $# -gt 0 ]; then
    for t in "$@"; do
        names+=("${t#fuzz_}")
    done
else
    for dir in "$root"/fuzz/corpus/*/; do
        name="$(basename "$dir")"
        if printf '%s\n' "$known" | grep -qx "fuzz_$name"; then
            names+=("$name")
        else
            echo "run.sh: fuzz/corpus/$name has no fuzz_$name target; skipped" >&2
        fi
    done
fi
[ ${#names[@]} -gt 0 ] || { echo "run.sh: no fuzz targets found" >&2; exit 2; }
for name in "${names[@]}"; do
    printf '%s\n' "$known" | grep -qx "fuzz_$name" ||
        { echo "run.sh: no target fuzz_$name in the fuzz build" >&2; exit 2; }
done

targets=()
for name in "${names[@]}"; do targets+=("fuzz_$name"); done
echo "building ${targets[*]}"
cmake --build "$build" -j2 --target "${targets[@]}" >"$build/fuzz-build.log" 2>&1 ||
    { tail -40 "$build/fuzz-build.log" >&2; exit 2; }

scratch="$(mktemp -d "${TMPDIR:-/tmp}/base-fuzz.XXXXXX")"
echo "scratch: $scratch"

# Runs one target; writes its summary line to $work/summary and 1 to $work/found on a finding.
run_one() {
    local name="$1" work="$scratch/$1"
    local corpus="$root/fuzz/corpus/$name"
    mkdir -p "$work/corpus" "$work/artifacts"
    if [ -d "$corpus" ]; then
        cp -R "$corpus/." "$work/corpus/"
    fi
    local seeds
    seeds="$(find "$work/corpus" -type f | wc -l)"
    (cd "$work" && "$build/bin/fuzz_$name" -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix="$work/artifacts/" "$work/corpus" >"$work/log" 2>&1)
    local status=$?
    local runs cov ft
    runs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log" | tail -1)"
    cov="$(grep -o 'cov: [0-9]*' "$work/log" | tail -1 | cut -d' ' -f2)"
    ft="$(grep -o 'ft: [0-9]*' "$work/log" | tail -1 | cut -d' ' -f2)"
    local found=0 findings="none"
    local artifacts
    # Slow units (slow-unit-*) are kept but are not findings.
    artifacts="$(find "$work/artifacts" -type f \( -name 'crash-*' -o -name 'leak-*' -o \
        -name 'timeout-*' -o -name 'oom-*' \) | sort)"
    if [ -n "$artifacts" ] || [ $status -ne 0 ]; then
        found=1
        findings="exit $status"
        if [ -n "$artifacts" ]; then
            findings="$(printf '%s\n' "$artifacts" | head -3 | tr '\n' ' ')(log: $work/log)"
        else
            findings="exit $status, no input saved (log: $work/log)"
        fi
    fi
    local grown
    grown="$(find "$work/corpus" -type f | wc -l)"
    local merged=""
    if [ $merge -eq 1 ] && [ $found -eq 0 ]; then
        mkdir -p "$corpus" "$work/merged"
        cp -R "$corpus/." "$work/merged/"
        local before
        before="$(find "$work/merged" -type f | wc -l)"
        (cd "$work" && "$build/bin/fuzz_$name" -merge=1 "$work/merged" "$work/corpus" \
            >"$work/merge.log" 2>&1)
        local after
        after="$(find "$work/merged" -type f | wc -l)"
        if [ "$after" -gt "$before" ]; then
            # Only the new files: existing seeds keep their readable names.
            (cd "$work/merged" && for f in *; do [ -e "$corpus/$f" ] || cp "$f" "$corpus/"; done)
        fi
        merged=", merged $((after - before)) new into fuzz/corpus/$name"
    fi
    printf '%-28s runs %s, cov %s, ft %s, corpus %s -> %s%s, findings: %s\n' "fuzz_$name" \
        "${runs:-?}" "${cov:-?}" "${ft:-?}" "$seeds" "$grown" "$merged" "$findings" \
        >"$work/summary"
    echo $found >"$work/found"
}

pending=()
for name in "${names[@]}"; do
    run_one "$name" &
    pending+=($!)
    if [ ${#pending[@]} -ge "$jobs" ]; then
        wait "${pending[0]}"
        pending=("${pending[@]:1}")
    fi
done
wait

status=0
for name in "${names[@]}"; do
    cat "$scratch/$name/summary"
    [ "$(cat "$scratch/$name/found")" = 0 ] || status=1
done
if [ $status -eq 0 ] && [ $keep -eq 0 ]; then
    rm -rf "$scratch"
else
    echo "inputs and logs kept in $scratch"
fi
exit $status
