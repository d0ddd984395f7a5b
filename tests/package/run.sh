#!/usr/bin/env bash
# run.sh BUILD_DIR SOURCE_DIR STANDIN: builds the Debian packages from the build folder with CPack
# (as `make package` does, into a folder of its own), checks them as Debian does (lintian: no
# error, no warning), unpacks both into one scratch root with dpkg-deb and checks what a shop and
# a programmer get: each file in its package and folder, the computed dependencies, compressed
# manual pages that render, the completion of pastrel-config's commands, the spool's systemd
# units as systemd reads them, the unpacked programs working on the unpacked samples; and a
# till's first run on it: `pastrel-config init escpos-80mm`, then a sample kitchen order and the
# test page to the printer stand-in STANDIN (a program around tests/support/printerstandin.h) on
# 127.0.0.1, checking what arrives.
set -euo pipefail
build=$(realpath "$1")
source=$(realpath "$2")
standin=$(realpath "$3")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

(cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/out") >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log"; fail "cpack"; }
programs=$(ls "$work"/out/pastrel-print_*.deb)
dev=$(ls "$work"/out/libpastrel-dev_*.deb)
[ "$(ls "$work"/out/*.deb | wc -l)" -eq 2 ] || fail "more packages than two: $(ls "$work"/out)"

# lintian as Debian runs it, not as root (it says so otherwise): every error and warning fails.
chmod 755 "$work" "$work/out"
lint=(lintian --no-cfg --fail-on error,warning "$programs" "$dev")
if [ "$(id -u)" -eq 0 ]; then
    lint=(setpriv --reuid=nobody --regid=nogroup --clear-groups env HOME=/tmp TMPDIR=/tmp "${lint[@]}")
fi
"${lint[@]}" >"$work/lintian.log" 2>&1 || { cat "$work/lintian.log"; fail "lintian"; }
! grep -E '^[EW]: ' "$work/lintian.log" || fail "lintian reports the lines above"

depends=$(dpkg-deb -f "$programs" Depends)
for library in libqt6core6 libqt6widgets6 libc6; do
    [[ "$depends" == *"$library"* ]] || fail "Depends lacks $library: $depends"
done
# What a program linking the static libraries needs besides them: the toolkit, and the encoders
# the renderer links (-lqrencode -lzint in pastrel-driver.pc).
for needed in qt6-base-dev libqrencode-dev libzint-dev; do
    [[ "$(dpkg-deb -f "$dev" Depends)" == *"$needed"* ]] || fail "libpastrel-dev does not depend on $needed"
done

# Each file in the package Debian would put it in.
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
contents() { dpkg-deb -c "$1" | awk '{ print substr($6, 2) }'; }
contents "$programs" >"$work/programs.list"
contents "$dev" >"$work/dev.list"
for file in /usr/bin/pastrel-print /usr/bin/pastrel-config \
    /usr/share/pastrel/translations/pastrel_it_IT.qm \
    /usr/share/pastrel/examples/company.conf /usr/share/pastrel/examples/escpos-80mm.conf \
    /usr/share/pastrel/examples/documents/kitchen-order.xml \
    /usr/share/man/man1/pastrel-print.1.gz /usr/share/man/man1/pastrel-config.1.gz \
    /usr/lib/systemd/user/pastrel-spool.service /usr/lib/systemd/user/pastrel-spool.timer \
    /usr/share/bash-completion/completions/pastrel-config \
    /usr/share/doc/pastrel-print/copyright /usr/share/doc/pastrel-print/changelog.Debian.gz; do
    grep -qx "$file" "$work/programs.list" || fail "pastrel-print lacks $file"
done
for file in /usr/include/pastrel/paconfiguration.h /usr/include/pastrel/logger.h \
    /usr/include/pastrel/hlibrary.h /usr/include/pastrel/printerdriver.h \
    /usr/share/doc/libpastrel-dev/copyright /usr/share/doc/libpastrel-dev/changelog.Debian.gz; do
    grep -qx "$file" "$work/dev.list" || fail "libpastrel-dev lacks $file"
done
for name in cmake/Pastrel/PastrelConfig.cmake cmake/Pastrel/PastrelConfigVersion.cmake \
    libpastrel_config.a libpastrel_log.a libpastrel_lib.a libpastrel_driver.a \
    pkgconfig/pastrel-conf.pc pkgconfig/pastrel-log.pc pkgconfig/pastrel-lib.pc \
    pkgconfig/pastrel-driver.pc; do
    grep -qx "/usr/lib/$multiarch/$name" "$work/dev.list" || fail "libpastrel-dev lacks /usr/lib/$multiarch/$name"
done
! grep -E '^/usr/(include|lib/'"$multiarch"')/' "$work/programs.list" || fail "programmers' files in pastrel-print"
! grep -E '^/usr/(bin|share/man)/' "$work/dev.list" || fail "programs in libpastrel-dev"

# One scratch root with both packages, as an installation of both has it.
root="$work/root"
dpkg-deb -x "$programs" "$root"
dpkg-deb -x "$dev" "$root"

# The static libraries without their debug information (lintian checks the programs).
for library in "$root/usr/lib/$multiarch"/*.a; do
    ! readelf -S --wide "$library" | grep -q '\.debug_info' || fail "$library keeps its debug information"
done

for page in "$root"/usr/share/man/man1/*.1.gz; do
    warnings=$(zcat "$page" | groff -man -Tutf8 -ww -z 2>&1)
    [ -z "$warnings" ] || fail "$page: $warnings"
    MANWIDTH=80 man -l "$page" >/dev/null 2>&1 || fail "man -l $page"
done

# Completion offers the first-run commands, and the models pastrel-config itself lists.
complete_words() {
    PATH="$root/usr/bin:$PATH" bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
        _pastrel_config; echo "${COMPREPLY[*]}"' sh "$root/usr/share/bash-completion/completions/pastrel-config" "$@"
}
[ "$(complete_words pastrel-config te)" = "test-page" ] || fail "completion of te: $(complete_words pastrel-config te)"
[ "$(complete_words pastrel-config init escpos)" = "escpos-58mm escpos-80mm" ] ||
    fail "completion of init escpos: $(complete_words pastrel-config init escpos)"

# The spool's timer and service as systemd reads them, the service naming the unpacked program.
units="$work/units"
mkdir -p "$units" "$work/runtime"
chmod 700 "$work/runtime"
sed "s|/usr/bin/|$root/usr/bin/|" "$root/usr/lib/systemd/user/pastrel-spool.service" >"$units/pastrel-spool.service"
cp "$root/usr/lib/systemd/user/pastrel-spool.timer" "$units/"
grep -qx 'ExecStart=/usr/bin/pastrel-config spool send' "$root/usr/lib/systemd/user/pastrel-spool.service" ||
    fail "the service does not run pastrel-config spool send"
XDG_RUNTIME_DIR="$work/runtime" systemd-analyze verify --user --man=no \
    "$units/pastrel-spool.timer" "$units/pastrel-spool.service" >"$work/verify.log" 2>&1 ||
    { cat "$work/verify.log"; fail "systemd-analyze verify"; }

# The samples name the catalogue folder of the installed system; here it is in the scratch root.
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

# A till's first run, on the scratch root: init from the installed sample, the catalogue folder
# set to the scratch root's, a sample kitchen order and the test page to a network printer.
home="$work/home-till"
mkdir -p "$home"
till() { HOME="$home" LC_ALL=C "$@"; }
till "$root/usr/bin/pastrel-config" init escpos-80mm >"$work/init.out" || fail "init: $(cat "$work/init.out")"
cmp -s "$samples/escpos-80mm.conf" "$home/.pastrel/conf/pastrel.conf" || fail "init did not copy the sample"
till "$root/usr/bin/pastrel-config" init escpos-58mm >/dev/null 2>&1 && fail "init replaced the file"
cmp -s "$samples/escpos-80mm.conf" "$home/.pastrel/conf/pastrel.conf" || fail "a second init changed the file"
till "$root/usr/bin/pastrel-config" set pastrel.language.basedir "$root/usr/share/pastrel/translations/" ||
    fail "set the catalogue folder"

printer_up() { # starts the stand-in for $1 connections; its address in $printer
    rm -f "$work/address"
    mkfifo "$work/standin.in"
    "$standin" "$work/address" "$1" <"$work/standin.in" >"$work/arrived.prn" &
    standin_pid=$!
    exec 3>"$work/standin.in"
    for _ in $(seq 100); do [ -s "$work/address" ] && break; sleep 0.1; done
    printer=$(cat "$work/address") || fail "the printer stand-in did not start"
}
printer_down() { # ends the stand-in; what arrived is in $work/arrived.prn
    exec 3>&-
    wait "$standin_pid" || fail "the printer stand-in failed"
    rm -f "$work/standin.in"
}

printer_up 2
till "$root/usr/bin/pastrel-print" "$root/usr/share/pastrel/examples/documents/kitchen-order.xml" \
    "$printer" >"$work/print.out" 2>&1
till "$root/usr/bin/pastrel-config" test-page "$printer" >"$work/page.out" 2>&1 ||
    fail "test-page to the stand-in: $(cat "$work/page.out")"
printer_down
till "$root/usr/bin/pastrel-print" "$root/usr/share/pastrel/examples/documents/kitchen-order.xml" \
    "$work/kitchen.prn" >/dev/null
till "$root/usr/bin/pastrel-config" test-page "$work/page.prn" >/dev/null
# The kitchen order, then the test page, each followed by the printer's status query DLE EOT n.
kitchen=$(stat -c %s "$work/kitchen.prn")
page=$(stat -c %s "$work/page.prn")
arrived() { tail -c +$(($1 + 1)) "$work/arrived.prn" | head -c "$2"; }
cmp -s "$work/kitchen.prn" <(arrived 0 "$kitchen") &&
    [ "$(arrived "$kitchen" 2 | od -An -c | tr -d ' ')" = '020004' ] &&
    cmp -s "$work/page.prn" <(arrived $((kitchen + 3)) "$page") &&
    [ "$(stat -c %s "$work/arrived.prn")" -eq $((kitchen + 3 + page + 3)) ] ||
    fail "the printer did not get the kitchen order and the test page: $(od -c "$work/arrived.prn" | head)"
[ -s "$work/print.out" ] && fail "pastrel-print said: $(cat "$work/print.out")"
grep -q 'Tavolo: 12' "$work/kitchen.prn" || fail "the kitchen order is not in Italian"
grep -q 'Code page: PC858' "$work/page.prn" || fail "the test page does not name the code page"
grep -qa $'\xd5' "$work/page.prn" || fail "the test page has no euro sign in PC858"
[ -z "$(find "$home/.pastrel/spool" -name '*.prn' 2>/dev/null)" ] || fail "a job waits in the spool"
echo "packages: $(basename "$programs") $(basename "$dev"): lintian clean, unpacked, a till set up and printing"
