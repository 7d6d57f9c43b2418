#!/usr/bin/env bash
# Renders the pictures of the tool bar and the icons of the program from the SVG files next to this script.
# Needs rsvg-convert (package librsvg2-bin), icotool (package icoutils) and png2icns (package icnsutils).
set -eu

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
out=$(dirname -- "$here")
packaging=$(dirname -- "$out")/packaging

for program in rsvg-convert:librsvg2-bin icotool:icoutils png2icns:icnsutils; do
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
    render "$name" 96 "$out/${name}32x32@3x.png"
done

render cancel 16 "$out/cancel16x16.png"
render cancel 32 "$out/cancel16x16@2x.png"
render cancel 48 "$out/cancel16x16@3x.png"

layers=()
for size in 16 24 32 48 64 96; do
    render new_file "$size" "$work/$size.png"
    layers+=("$work/$size.png")
done
icotool --create --output="$out/new_file.ico" "${layers[@]}"

# The small sizes have drawings of their own, whose edges lie on whole pixels.
mkdir -p "$packaging/icons"
rsvg-convert --output "$packaging/icons/16.png" "$here/catalist-16.svg"
rsvg-convert --output "$packaging/icons/22.png" "$here/catalist-22.svg"
rsvg-convert --page-width 24 --page-height 24 --left 1 --top 1 --output "$packaging/icons/24.png" "$here/catalist-22.svg"
for size in 32 48 64 128 256 512; do
    render catalist "$size" "$packaging/icons/$size.png"
done

cd "$packaging/icons"
icotool --create --output="$out/catalist.ico" {16,22,24,32,48,64,128}.png --raw=256.png
mkdir -p "$packaging/macos"
png2icns "$packaging/macos/catalist.icns" {16,32,48,128,256,512}.png >/dev/null
