#!/usr/bin/env bash
# Renders the pictures of the tool bar from the SVG files next to this script.
# Needs rsvg-convert (package librsvg2-bin) and icotool (package icoutils).
set -eu

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
out=$(dirname -- "$here")

for program in rsvg-convert:librsvg2-bin icotool:icoutils; do
    if ! command -v "${program%%:*}" >/dev/null; then
        echo "render.sh: ${program%%:*} is missing, install ${program##*:}" >&2
        exit 1
    fi
done

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

# render NAME SIZE TARGET
render() {
    rsvg-convert --width "$2" --height "$2" --output "$3" "$here/$1.svg"
}

for name in open_folder save export; do
    render "$name" 32 "$out/${name}32x32.png"
    render "$name" 64 "$out/${name}32x32@2x.png"
done

render cancel 16 "$out/cancel16x16.png"
render cancel 32 "$out/cancel16x16@2x.png"

layers=()
for size in 16 24 32 48 64; do
    render new_file "$size" "$work/$size.png"
    layers+=("$work/$size.png")
done
icotool --create --output="$out/new_file.ico" "${layers[@]}"
