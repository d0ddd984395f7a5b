#!/usr/bin/env bash
# run.sh BUILD_DIR SECONDS [TARGET...]: runs each libFuzzer target (default: all four) for
# SECONDS, one after the other, on a corpus kept in BUILD_DIR/corpus/<target> (it grows from run
# to run) seeded from fuzz/seeds.sh and fuzz/regressions/<target>.
# Fails on any crash, sanitizer report, leak, input over 1 s (-timeout) or over 256 MiB
# (-rss_limit_mb, -malloc_limit_mb). A failing input is left in BUILD_DIR/artifacts/: copy it to
# fuzz/regressions/<target>/ once fixed, and it replays in make test from then on.
# Every run appends a line to BUILD_DIR/fuzz-history.tsv: the totals for the closing note.
set -euo pipefail
build=$1 seconds=$2
shift 2
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=(cfg document document_config catalogue)
src=$(cd "$(dirname "$0")/.." && pwd)

# Seeds in a folder of this run's own, so runs of different targets can go side by side.
seeds=$(mktemp -d "$build/seeds.XXXXXX")
trap 'rm -rf "$seeds"' EXIT
"$src/fuzz/seeds.sh" "$src" "$build" "$seeds" >/dev/null
mkdir -p "$build/artifacts"
# ASan keeps freed memory in a quarantine (256 MiB by default) that counts toward the RSS limit;
# a small one lets -rss_limit_mb measure the program, not the sanitizer.
export ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=16:detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
status=0
for target in "${targets[@]}"; do
    corpus=$build/corpus/$target
    log=$build/fuzz-$target.log
    mkdir -p "$corpus"
    echo "fuzz_$target: $seconds s (log: $log)"
    # -close_fd_mask=1: the program's messages on standard output would flood the log.
    if ! "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=1 -rss_limit_mb=256 \
            -malloc_limit_mb=256 -close_fd_mask=1 -print_final_stats=1 \
            -artifact_prefix="$build/artifacts/$target-" \
            "$corpus" "$seeds/$target" "$src/fuzz/regressions/$target" >"$log" 2>&1; then
        echo "fuzz_$target FAILED: see $log and $build/artifacts/" >&2
        tail -n 30 "$log" >&2
        status=1
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    cov=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)
    ft=$(grep -o 'ft: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)
    printf '%s\t%s\t%s\t%s\t%s\t%s\n' "$(date -u +%FT%TZ)" "$target" "$seconds" "${runs:-0}" \
        "${cov:-0}" "${ft:-0}" >>"$build/fuzz-history.tsv"
    echo "fuzz_$target: ${runs:-0} executions, coverage ${cov:-0} edges, ${ft:-0} features," \
         "corpus $(ls "$corpus" | wc -l) inputs"
done
exit $status
