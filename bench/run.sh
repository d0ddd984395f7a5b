#!/usr/bin/env bash
# `make bench`: the document compiler against cp of the same input, in the same run, for both
# printer back-ends: the company printer (the sample home, in Italian) and the ESC/POS printer (the
# same home with pastrel.printer.model = escpos and 40 columns, so both lay out the same rows).
#  1. A typical receipt (examples/documents/full-order-receipt.xml), RUNS times each; the
#     ratio of the mean wall times. Targets: at most 2.5 against cp; the ESC/POS printer at most
#     10 % over the company printer.
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

# The company home: the sample configuration with its catalogue folder filled in (the built
# catalogues beside the program), so both printers print in Italian as a shop's till does.
home="$work/home"
mkdir -p "$home/.pastrel/conf"
catalogues=$(realpath -m "$(dirname "$program")/../translations")
CATALOGUE_DIR="$catalogues" perl -pe 's/\@CATALOGUE_DIR\@/$ENV{CATALOGUE_DIR}/g' \
    "$root/examples/home/.pastrel/conf/pastrel.conf" >"$home/.pastrel/conf/pastrel.conf"
# The ESC/POS home: the same configuration with a printer group at the top of its first group.
escpos_home="$work/escpos-home"
mkdir -p "$escpos_home/.pastrel/conf"
sed '0,/^pastrel : {$/s//pastrel : {\n    printer : {\n        model = "escpos";\n        columns = 40;\n    };/' \
    "$home/.pastrel/conf/pastrel.conf" >"$escpos_home/.pastrel/conf/pastrel.conf"

cd "$work"
export HOME="$home"
"$program" "$receipt" "$work/warm.prn" # warm the page cache
print_us=$(mean_us "$program" "$receipt" "$work/out.prn")
escpos_us=$(HOME="$escpos_home" mean_us "$program" "$receipt" "$work/out-escpos.prn")
cp_us=$(mean_us cp "$receipt" "$work/copy.xml")
echo "typical receipt ($(stat -c %s "$receipt") bytes, $runs runs each):"
echo "  pastrel-print  ${print_us} us/run (company printer)"
echo "  pastrel-print  ${escpos_us} us/run (ESC/POS printer)"
echo "  cp             ${cp_us} us/run"
awk -v p="$print_us" -v c="$cp_us" 'BEGIN { r = p / c; printf "  ratio          %.2f (target <= 2.5: %s)\n", r, (r <= 2.5 ? "met" : "missed") }'
awk -v e="$escpos_us" -v p="$print_us" 'BEGIN { r = e / p; printf "  ESC/POS        %.2f of the company printer (target <= 1.10: %s)\n", r, (r <= 1.10 ? "met" : "missed") }'

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
read -r escpos_s escpos_kib < <(HOME="$escpos_home" measure "$program" "$large" "$work/large-escpos.prn")
read -r cp_s cp_kib < <(measure cp "$large" "$work/large-copy.xml")
echo "large receipt ($lines article lines, $((size / 1024 / 1024)) MiB input, $(($(stat -c %s "$work/large.prn") / 1024 / 1024)) MiB output):"
line() { # label seconds peak_kib
    awk -v l="$1" -v s="$2" -v k="$3" -v b="$size" 'BEGIN {
        if (s < 0.01) s = 0.01
        mbs = b / 1e6 / s
        printf "  %-14s %.2f s, %.1f MB/s, peak %.1f MiB (targets: >= 50 MB/s %s, < 30 MiB %s)\n", l, s, mbs, k / 1024, (mbs >= 50 ? "met" : "missed"), (k / 1024 < 30 ? "met" : "missed")
    }'
}
line "company" "$print_s" "$print_kib"
line "ESC/POS" "$escpos_s" "$escpos_kib"
awk -v cs="$cp_s" -v ck="$cp_kib" -v b="$size" 'BEGIN {
    if (cs < 0.01) cs = 0.01
    printf "  cp             %.2f s, %.1f MB/s, peak %.1f MiB\n", cs, b / 1e6 / cs, ck / 1024
}'
