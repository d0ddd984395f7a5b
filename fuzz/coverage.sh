#!/usr/bin/env bash
# coverage.sh FUZZ_DIR COVERAGE_DIR: the source lines that the corpora make fuzz has grown
# (FUZZ_DIR/corpus/<target>) reach, as llvm-cov's report over config/, driver/ and app/.
# The targets are built again with clang's source-based coverage and the replay main, and every
# corpus input is replayed once. The figure the closing note of a fuzzing session gives.
set -euo pipefail
fuzz=$1 cov=$2
src=$(cd "$(dirname "$0")/.." && pwd)
for target in cfg document document_config catalogue; do
    [[ -d $fuzz/corpus/$target ]] || { echo "no corpus in $fuzz/corpus/$target: run make fuzz first" >&2; exit 1; }
done
flags="-fprofile-instr-generate -fcoverage-mapping"
CXX=clang++ cmake -S "$src" -B "$cov" -DPASTREL_BUILD_TESTS=OFF \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" >/dev/null
cmake --build "$cov" -j "$(nproc)" --target fuzz_cfg fuzz_document fuzz_document_config fuzz_catalogue >/dev/null
objects=()
rm -f "$cov"/*.profraw
for target in cfg document document_config catalogue; do
    LLVM_PROFILE_FILE="$cov/$target.profraw" "$cov/fuzz/fuzz_$target" "$fuzz/corpus/$target" \
        >/dev/null 2>&1
    objects+=(-object "$cov/fuzz/fuzz_$target")
done
llvm-profdata merge -o "$cov/corpus.profdata" "$cov"/*.profraw
llvm-cov report "${objects[@]:1}" -instr-profile="$cov/corpus.profdata" \
    "$src/config" "$src/driver" "$src/app"
