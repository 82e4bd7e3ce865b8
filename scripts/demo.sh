#!/usr/bin/env bash
# Encodes a picture sequence through the library, decodes it back and shows both: which engine ran, speed, rate and
# quality. Stream, pictures and a contact sheet are left under build/demo/.
#
# Usage: demo.sh [FILE]      FILE: any video that ffmpeg reads; without one a camera scene is rendered
set -euo pipefail
source_file=${1:+$(realpath "$1")}
cd "$(dirname "$0")/.."
scripts/install_packages.sh build

out=build/demo
mkdir -p "$out"
cmake --preset demo >"$out/build.log"
ninja -C build/library qvlx camera_scene >>"$out/build.log" || { tail -n 40 "$out/build.log" >&2; exit 1; }

if [ -n "$source_file" ]; then
    echo "reading at most 300 pictures of $source_file"
    ffmpeg -nostdin -v error -y -i "$source_file" -frames:v 300 -an -vf "scale=trunc(iw/2)*2:trunc(ih/2)*2" -pix_fmt yuv420p \
        "$out/source.y4m"
else
    echo "rendering a camera scene of 150 pictures"
    build/library/camera_scene -o "$out/source.y4m" --size 640x360 --fps 30 --frames 150
fi

echo "encoding:"
build/library/qvlx encode "$out/source.y4m" -o "$out/stream.264" --keyint 75 --kbps "${DEMO_KBPS:-800}" --psnr
echo "decoding:"
build/library/qvlx decode "$out/stream.264" -o "$out/decoded.y4m"

# Four pictures of the sequence: as they went in above, as they came out below.
frames=$(ffprobe -v error -count_packets -select_streams v -show_entries stream=nb_read_packets -of csv=p=0 "$out/decoded.y4m")
step=$(((frames + 3) / 4))
pick="select=not(mod(n\,$step)),scale=480:-2,tile=4x1:padding=4"
ffmpeg -nostdin -v error -y -i "$out/source.y4m" -i "$out/decoded.y4m" \
    -filter_complex "[0:v]${pick}[a];[1:v]${pick}[b];[a][b]vstack" -frames:v 1 -update 1 "$out/contact_sheet.png"
ls -l "$out"/stream.264 "$out"/decoded.y4m "$out"/contact_sheet.png
