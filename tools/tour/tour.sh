#!/usr/bin/env bash
# Edits and publishes a copy of a catalogue in the window of an editor, built or installed, and leaves both files and
# pictures of the window in a folder:
#   tour.sh PROGRAM PLUGINS CATALOGUE FOLDER
# PLUGINS is the folder with generic/libcatalist_tour.so. Ends with 1 when a step failed.
set -euo pipefail
PATIENCE=300 # seconds; it usually takes a few

if [ $# -ne 4 ]; then
    echo "usage: tour.sh PROGRAM PLUGINS CATALOGUE FOLDER" >&2
    exit 2
fi

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME=$home XDG_CONFIG_HOME=$home XDG_DATA_HOME=$home XDG_CACHE_HOME=$home XDG_RUNTIME_DIR=$home
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export QT_PLUGIN_PATH=$2${QT_PLUGIN_PATH:+:$QT_PLUGIN_PATH} QT_QPA_GENERIC_PLUGINS=tour
export CATALIST_TOUR_CATALOGUE=$3 CATALIST_TOUR_FOLDER=$4

watched=("$1")
! command -v timeout >/dev/null || watched=(timeout --kill-after=10 "$PATIENCE" "$1")
code=0
"${watched[@]}" || code=$?
if [ "$code" = 124 ]; then
    echo "The tour did not end in $PATIENCE seconds" >&2
    exit 1
elif [ "$code" != 0 ]; then
    echo "The tour ended with $code" >&2
    exit 1
elif [ ! -f "$home/tour-finished" ]; then
    echo "$1 ended without a complete tour" >&2
    exit 1
fi
