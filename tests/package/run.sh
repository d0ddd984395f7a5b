#!/usr/bin/env bash
# run.sh BUILD_DIR SOURCE_DIR: builds the Debian package from the build folder with CPack (as
# `make package` does, into a folder of its own), unpacks it with dpkg-deb and checks what a shop
# gets: the files, the computed dependencies, manual pages that render, and the unpacked programs
# working on the unpacked samples (the receipt printed in Italian from the packaged catalogue,
# `pastrel-config check` finding nothing in any sample configuration).
set -euo pipefail
build=$(realpath "$1")
source=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

(cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/out") >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log"; fail "cpack"; }
deb=$(ls "$work"/out/*.deb)
root="$work/root"
dpkg-deb -x "$deb" "$root"

depends=$(dpkg-deb -f "$deb" Depends)
for library in libqt6core6 libqt6widgets6 libc6; do
    [[ "$depends" == *"$library"* ]] || fail "Depends lacks $library: $depends"
done

for file in usr/bin/pastrel-print usr/bin/pastrel-config \
    usr/share/pastrel/translations/pastrel_it_IT.qm \
    usr/share/pastrel/examples/company.conf \
    usr/include/pastrel/paconfiguration.h usr/include/pastrel/logger.h \
    usr/include/pastrel/hlibrary.h usr/include/pastrel/printerdriver.h \
    usr/share/man/man1/pastrel-print.1 usr/share/man/man1/pastrel-config.1; do
    [ -f "$root/$file" ] || fail "the package lacks /$file"
done
for name in PastrelConfig.cmake PastrelConfigVersion.cmake libpastrel_config.a libpastrel_log.a \
    libpastrel_lib.a libpastrel_driver.a pastrel-conf.pc pastrel-log.pc pastrel-lib.pc \
    pastrel-driver.pc; do
    [ -n "$(find "$root/usr/lib" -name "$name")" ] || fail "the package lacks $name"
done

for page in "$root"/usr/share/man/man1/*.1; do
    warnings=$(groff -man -Tutf8 -ww -z "$page" 2>&1)
    [ -z "$warnings" ] || fail "$page: $warnings"
    MANWIDTH=80 man -l "$page" >/dev/null 2>&1 || fail "man -l $page"
done

# The samples name the catalogue folder of the installed system; here it is in the unpacked tree.
samples="$root/usr/share/pastrel/examples"
for sample in "$samples"/*.conf; do
    home="$work/home-$(basename "$sample" .conf)"
    mkdir -p "$home/.pastrel/conf"
    sed "s|/usr/share/pastrel/|$root/usr/share/pastrel/|g" "$sample" >"$home/.pastrel/conf/pastrel.conf"
    report=$(HOME="$home" "$root/usr/bin/pastrel-config" check) ||
        fail "pastrel-config check on $(basename "$sample"): $report"
done

home="$work/home-company"
HOME="$home" "$root/usr/bin/pastrel-print" "$source/examples/documents/abstract-order-receipt.xml" \
    "$work/receipt.prn" >"$work/receipt.out"
[ ! -s "$work/receipt.out" ] || fail "pastrel-print said: $(cat "$work/receipt.out")"
grep -q 'Scontrino n. 2026/001235' "$work/receipt.prn" ||
    fail "the unpacked pastrel-print did not print the receipt in Italian"
echo "package: $(basename "$deb") unpacks, renders and checks its samples"
