#!/usr/bin/env bash
# `make run`: renders every sample document of examples/documents with the sample home
# (examples/home, so $HOME/.pastrel/conf/pastrel.conf is the sample configuration) into
# build/demo/NAME.prn, and shows each with its control bytes made readable.
set -euo pipefail
program=$(realpath "$1")
examples=$(realpath "$2")
out=$(realpath -m "$(dirname "$program")/../demo")
mkdir -p "$out"
readable="$(dirname "$0")/readable"
for document in "$examples"/documents/*.xml; do
    name=$(basename "$document" .xml)
    (cd "$examples/home" && HOME="$examples/home" "$program" "$document" "$out/$name.prn")
    printf '\n==== %s (%s)\n' "$name" "$out/$name.prn"
    "$readable" < "$out/$name.prn"
    printf '\n'
done
