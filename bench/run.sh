#!/usr/bin/env bash
# `make bench`: the document compiler against cp of the same input, in the same run.
#  1. A typical receipt (examples/documents/full-order-receipt.xml), RUNS times each; the
#     ratio of the mean wall times. Target: at most 2.5.
#  2. A generated receipt of LINES article lines (default 200,000): throughput of the input
#     in MB/s (target: 50 or more) and peak resident memory (target: under 30 MiB, whatever
#     the size), against cp of the same file.
# It reports; it asserts nothing (performance is measured, never asserted by a test).
set -euo pipefail
program=$(realpath "$1")
root=$(realpath "$(dirname "$0")/..")
runs=${RUNS:-300}
lines=${LINES:-200000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
home="$root/examples/home"
receipt="$root/examples/documents/full-order-receipt.xml"

now() { date +%s%N; }
# mean wall time in microseconds of RUNS runs of a command
mean_us() {
    local start end
    start=$(now)
    for ((i = 0; i < runs; i++)); do "$@" >/dev/null; done
    end=$(now)
    echo $(((end - start) / runs / 1000))
}

cd "$work"
export HOME="$home"
"$program" "$receipt" "$work/warm.prn" # warm the page cache
print_us=$(mean_us "$program" "$receipt" "$work/out.prn")
cp_us=$(mean_us cp "$receipt" "$work/copy.xml")
echo "typical receipt ($(stat -c %s "$receipt") bytes, $runs runs each):"
echo "  pastrel-print  ${print_us} us/run"
echo "  cp             ${cp_us} us/run"
awk -v p="$print_us" -v c="$cp_us" 'BEGIN { r = p / c; printf "  ratio          %.2f (target <= 2.5: %s)\n", r, (r <= 2.5 ? "met" : "missed") }'

# A large receipt: headers, then LINES dish rows, then the total.
large="$work/large.xml"
{
    echo '<document><method name="printFullOrderReceipt"/>'
    echo '<receipt serialnumber="2026/999999"/>'
    awk -v n="$lines" 'BEGIN { for (i = 1; i <= n; i++)
        printf "<receipe number=\"%d\" name=\"Spaghetti alla carbonara n. %d\" price=\"9.50\" totalPrice=\"%d.50\"/>\n", i % 9 + 1, i, i % 90 }'
    echo '<total price="123456.00"/></document>'
} >"$large"
size=$(stat -c %s "$large")
measure() { # prints "seconds peak_kib"
    /usr/bin/time -f '%e %M' -o "$work/time.txt" "$@" >/dev/null
    cat "$work/time.txt"
}
read -r print_s print_kib < <(measure "$program" "$large" "$work/large.prn")
read -r cp_s cp_kib < <(measure cp "$large" "$work/large-copy.xml")
echo "large receipt ($lines article lines, $((size / 1024 / 1024)) MiB input, $(($(stat -c %s "$work/large.prn") / 1024 / 1024)) MiB output):"
awk -v s="$print_s" -v k="$print_kib" -v b="$size" -v cs="$cp_s" -v ck="$cp_kib" 'BEGIN {
    if (s < 0.01) s = 0.01; if (cs < 0.01) cs = 0.01
    mbs = b / 1e6 / s
    printf "  pastrel-print  %.2f s, %.1f MB/s, peak %.1f MiB (targets: >= 50 MB/s %s, < 30 MiB %s)\n", s, mbs, k / 1024, (mbs >= 50 ? "met" : "missed"), (k / 1024 < 30 ? "met" : "missed")
    printf "  cp             %.2f s, %.1f MB/s, peak %.1f MiB\n", cs, b / 1e6 / cs, ck / 1024
}'
