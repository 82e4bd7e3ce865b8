#!/usr/bin/env bash
# Shows what the treatment of camera pictures does: a rendered green-screen picture as it came, keyed, smoothed, brighter,
# darker, and with all together, each with a part of it at four times the size. Pictures and the sheet are left under
# build/process/.
#
# Usage: process_sheet.sh [PICTURE.png [BACKGROUND.png]]      pictures of your own instead of the rendered ones
#        CROP=X:Y process_sheet.sh ...                        where the part of 120x68 begins
set -euo pipefail
own_picture=${1:+$(realpath "$1")}
own_background=${2:+$(realpath "$2")}
cd "$(dirname "$0")/.."
scripts/install_packages.sh build

out=build/process
mkdir -p "$out"
cmake --preset demo >"$out/build.log"
ninja -C build/library qvlx green_screen >>"$out/build.log" || { tail -n 40 "$out/build.log" >&2; exit 1; }

source=${own_picture:-$PWD/$out/source.png}
background=${own_background:-$PWD/$out/background.png}
[ -n "$own_picture" ] || build/library/green_screen -o "$source" --first 20
[ -n "$own_background" ] || build/library/green_screen -o "$background" --landscape

treat() { # NAME, OPTION...
    build/library/qvlx process "$source" -o "$out/$1.png" --quiet "${@:2}"
}
treat keyed --background "$background"
treat smoothed --smooth
treat brighter --brightness 0.3
treat darker --brightness -0.3
treat all --background "$background" --smooth --brightness 0.15

# Six columns: the whole picture above, its part below. The part shows the edge of the head and the hair.
names=(source keyed smoothed brighter darker all)
inputs=(-i "$source")
for name in "${names[@]:1}"; do inputs+=(-i "$out/$name.png"); done
filter=
for i in "${!names[@]}"; do
    filter+="[$i:v]split[w$i][p$i];[w$i]scale=480:-2[a$i];"
    filter+="[p$i]crop=120:68:${CROP:-iw*37/80:ih*5/24},scale=480:-2:flags=neighbor[b$i];[a$i][b$i]vstack,pad=iw+4:ih+4[c$i];"
done
filter+="[c0][c1][c2]hstack=3[top];[c3][c4][c5]hstack=3[bottom];[top][bottom]vstack"
ffmpeg -nostdin -v error -y "${inputs[@]}" -filter_complex "$filter" -frames:v 1 -update 1 "$out/sheet.png"
echo "from left to right, above: as it came, keyed, smoothed; below: brighter, darker, all together"
ls -l "$out/sheet.png"
