#!/usr/bin/env bash
# `make run`: renders every sample document of examples/documents with the sample home
# (examples/home, so $HOME/.pastrel/conf/pastrel.conf is the sample configuration) into
# build/demo/NAME.prn, and shows each with its control bytes made readable.
#
# The sample configuration selects the Italian catalogue by its file name, in a folder it
# names "@CATALOGUE_DIR@": the demo runs on a copy of the sample home (build/demo/home) with
# that placeholder replaced by the built catalogues' folder, build/translations, so the samples
# print in Italian whatever the machine's locale. PASTREL_CATALOGUE_DIR overrides that folder
# (for example an installed share/pastrel/translations), PASTREL_DEMO_DIR the output folder.
set -euo pipefail
program=$(realpath "$1")
examples=$(realpath "$2")
out=$(realpath -m "${PASTREL_DEMO_DIR:-$(dirname "$program")/../demo}")
catalogues=$(realpath -m "${PASTREL_CATALOGUE_DIR:-$(dirname "$program")/../translations}")
mkdir -p "$out"
readable="$(dirname "$0")/readable"

home="$out/home"
rm -rf "$home"
mkdir -p "$home"
cp -R "$examples/home/." "$home/"
# perl with the folder in the environment: no character of the path is taken as a pattern.
CATALOGUE_DIR="$catalogues" perl -pi -e 's/\@CATALOGUE_DIR\@/$ENV{CATALOGUE_DIR}/g' \
    "$home/.pastrel/conf/pastrel.conf"
if [ ! -f "$catalogues/pastrel_it_IT.qm" ]; then
    echo "demo: no $catalogues/pastrel_it_IT.qm, the labels print in English" >&2
fi

for document in "$examples"/documents/*.xml; do
    name=$(basename "$document" .xml)
    (cd "$home" && HOME="$home" "$program" "$document" "$out/$name.prn")
    printf '\n==== %s (%s)\n' "$name" "$out/$name.prn"
    "$readable" < "$out/$name.prn"
    printf '\n'
done
