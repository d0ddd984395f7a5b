#!/usr/bin/env bash
# `make run`: renders every sample document of examples/documents with every sample
# configuration, shows each job with its control bytes made readable, and draws it as a PNG with
# pastrel-preview (built beside pastrel-print) next to the bytes.
#
# Configurations: the sample home (examples/home, whose .pastrel/conf/pastrel.conf is the
# company printer's) writes build/demo/NAME.prn and NAME.png; every complete configuration file
# examples/conf/CONF.conf writes build/demo/CONF/NAME.prn and NAME.png, so a new sample printer
# needs a file there and no change here.
#
# The sample configurations select the Italian catalogue by its file name, in a folder they
# name "@CATALOGUE_DIR@": each runs in a copy of the sample home (build/demo/home, or
# build/demo/CONF/home) with that placeholder replaced by the built catalogues' folder,
# build/translations, so the samples print in Italian whatever the machine's locale.
# PASTREL_CATALOGUE_DIR overrides that folder (for example an installed share/pastrel/translations),
# PASTREL_DEMO_DIR the output folder.
set -euo pipefail
program=$(realpath "$1")
examples=$(realpath "$2")
preview="$(dirname "$program")/pastrel-preview"
out=$(realpath -m "${PASTREL_DEMO_DIR:-$(dirname "$program")/../demo}")
catalogues=$(realpath -m "${PASTREL_CATALOGUE_DIR:-$(dirname "$program")/../translations}")
readable="$(dirname "$0")/readable"
if [ ! -f "$catalogues/pastrel_it_IT.qm" ]; then
    echo "demo: no $catalogues/pastrel_it_IT.qm, the labels print in English" >&2
fi

# render FOLDER CONFIGURATION: every sample document into FOLDER, with CONFIGURATION.
render() {
    local folder=$1 configuration=$2 home=$1/home
    rm -rf "$home"
    mkdir -p "$home"
    cp -R "$examples/home/." "$home/"
    cp "$configuration" "$home/.pastrel/conf/pastrel.conf"
    # perl with the folder in the environment: no character of the path is taken as a pattern.
    CATALOGUE_DIR="$catalogues" perl -pi -e 's/\@CATALOGUE_DIR\@/$ENV{CATALOGUE_DIR}/g' \
        "$home/.pastrel/conf/pastrel.conf"
    local document name
    for document in "$examples"/documents/*.xml; do
        name=$(basename "$document" .xml)
        (cd "$home" && HOME="$home" "$program" "$document" "$folder/$name.prn")
        printf '\n==== %s (%s)\n' "$name" "$folder/$name.prn"
        "$readable" < "$folder/$name.prn"
        printf '\n'
        if [ -x "$preview" ]; then
            (cd "$home" && HOME="$home" "$preview" "$folder/$name.prn" "$folder/$name.png")
            printf 'picture: %s\n' "$folder/$name.png"
        fi
    done
}

mkdir -p "$out"
# A copy first: the home's own file is the one render() overwrites.
cp "$examples/home/.pastrel/conf/pastrel.conf" "$out/sample.conf"
render "$out" "$out/sample.conf"
for configuration in "$examples"/conf/*.conf; do
    [ -f "$configuration" ] || continue
    name=$(basename "$configuration" .conf)
    mkdir -p "$out/$name"
    render "$out/$name" "$configuration"
done
