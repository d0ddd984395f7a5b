#!/usr/bin/env bash
# seeds.sh SOURCE_DIR BINARY_DIR OUT_DIR: the seed corpora of the fuzz targets, made from the
# files the project already has, so a new golden case is a new seed with no step of its own.
#   OUT_DIR/cfg              every sample and golden configuration
#   OUT_DIR/document         every golden and sample input document
#   OUT_DIR/document_config  each golden case's configuration, a NUL byte, then its document
#   OUT_DIR/catalogue        the built message catalogues (shipped and test)
# The golden configurations' placeholders are filled in as the golden runner fills them.
set -euo pipefail
src=$1 bin=$2 out=$3
rm -rf "$out"
mkdir -p "$out/cfg" "$out/document" "$out/document_config" "$out/catalogue"

fill() { sed -e "s|@HOME@|/nonexistent|g" -e "s|@QM_DIR@|$bin/tests/translations|g" \
             -e "s|@CATALOGUE_DIR@|$bin/translations|g" "$1"; }

fill "$src/examples/home/.pastrel/conf/pastrel.conf" > "$out/cfg/examples-home.conf"
for file in "$src"/examples/documents/*.xml; do
    cp "$file" "$out/document/example-$(basename "$file")"
done
for case in "$src"/tests/documents/*/*/; do
    [[ -f $case/input.xml ]] || continue
    name=$(basename "$(dirname "$case")")-$(basename "$case")
    cp "$case/input.xml" "$out/document/$name.xml"
    conf=$case/pastrel.conf
    [[ -f $case/config ]] && conf=$src/tests/documents/configs/$(<"$case/config").conf
    if [[ -f $conf ]]; then
        fill "$conf" > "$out/cfg/$name.conf"
        { cat "$out/cfg/$name.conf"; printf '\0'; cat "$case/input.xml" 2>/dev/null || true; } \
            > "$out/document_config/$name"
    fi
done
for qm in "$bin"/translations/*.qm "$bin"/tests/translations/*.qm; do
    [[ -f $qm ]] && cp "$qm" "$out/catalogue/$(basename "$(dirname "$qm")")-$(basename "$qm")"
done
echo "seeds: $(ls "$out/cfg" | wc -l) configurations, $(ls "$out/document" | wc -l) documents," \
     "$(ls "$out/document_config" | wc -l) pairs, $(ls "$out/catalogue" | wc -l) catalogues"
