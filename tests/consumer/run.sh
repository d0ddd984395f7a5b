#!/usr/bin/env bash
# run.sh BUILD_DIR SOURCE_DIR: installs the build into a prefix of its own, builds the program
# of this folder against it twice (with find_package(Pastrel) and with the pkg-config files),
# and checks that each reads a setting, writes a log line and renders a receipt byte for byte as
# the installed pastrel-print does.
set -euo pipefail
build=$(realpath "$1")
source=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; fail "install"; }

cmake -S "$source/tests/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_BUILD_TYPE=Release >"$work/configure.log" 2>&1 || { cat "$work/configure.log"; fail "find_package(Pastrel)"; }
cmake --build "$work/cmake" >"$work/build.log" 2>&1 || { cat "$work/build.log"; fail "build with CMake"; }

pcdir=$(dirname "$(find "$prefix" -name pastrel-lib.pc)")
flags=$(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs pastrel-lib pastrel-driver) ||
    fail "pkg-config pastrel-lib pastrel-driver"
# shellcheck disable=SC2086 # the flags are a list of words
g++ -std=c++17 -o "$work/consumer-pc" "$source/tests/consumer/main.cpp" $flags ||
    fail "build with pkg-config: g++ main.cpp $flags"

home="$work/home"
mkdir -p "$home/.pastrel/conf"
cat >"$home/.pastrel/conf/pastrel.conf" <<CONF
pastrel : {
    logger : { level = INFO; basedir = "$work"; filename = consumer.log; type = APPEND; };
    receiptdoc : { paperWidth = 32; quantityFieldWidth = 3; priceFieldWidth = 7;
                   totalPriceFieldWidth = 8; printHeader = true; printCompany = true;
                   openCashDrawer = true; copyNumber = 2; };
};
CONF
input="$source/examples/documents/abstract-order-receipt.xml"
HOME="$home" "$prefix/bin/pastrel-print" "$input" "$work/expected.prn" >/dev/null
for consumer in "$work/cmake/consumer" "$work/consumer-pc"; do
    rm -f "$work/consumer.log"
    out=$(cd "$home" && HOME="$home" "$consumer" "$input" "$work/actual.prn") || fail "$consumer exit status"
    [ "$out" = $'paperWidth 32\ncopies 2' ] || fail "$consumer printed: $out"
    grep -q '\] INFO: consumer rendered a receipt$' "$work/consumer.log" || fail "$consumer: no log line"
    cmp "$work/expected.prn" "$work/actual.prn" || fail "$consumer renders other bytes than pastrel-print"
    [ "$(wc -c <"$work/actual.prn")" -gt 200 ] || fail "$consumer rendered almost nothing"
done
echo "consumer: find_package and pkg-config builds read, log and render as pastrel-print"
