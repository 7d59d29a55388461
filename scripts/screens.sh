#!/usr/bin/env bash
# Takes pictures of the programs with a window, as they look at work, on a screen that exists in memory only.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: screens.sh [--dpi N]... [FOLDER]
Writes FOLDER/PROGRAM-N.png for each program with a window, at N dots per inch; --dpi 96 and --dpi 144 when not said
(what Windows calls 100 and 150 %), FOLDER is docs/pictures. Looking at them is left to you.
EOF
}

folder=$REPO/docs/pictures
resolutions=()
while (($# > 0)); do
  case $1 in
    --dpi)
      need_value "$@"
      [[ $2 =~ ^[0-9]+$ ]] && (($2 >= 96 && $2 <= 384)) || fail "--dpi takes a number from 96 to 384, not '$2'"
      resolutions+=("$2")
      shift
      ;;
    --help) usage; exit 0 ;;
    -*) fail "unknown option $1 (screens.sh --help lists the options)" ;;
    *) folder=$1 ;;
  esac
  shift
done
((${#resolutions[@]} > 0)) || resolutions=(96 144)
mkdir -p -- "$folder"
folder=$(cd -- "$folder" && pwd)

"$REPO/scripts/setup.sh" screens
"$REPO/scripts/build.sh"
build_dir=$REPO/build/mingw32
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

# in_wine PROGRAM...: in the prefix with graphics; on_desktop PROGRAM...: in a window of Wine's, which draws the
# title bars that no window manager draws here. Programs see each other only on the same one.
in_wine() { "$REPO/scripts/wine.sh" --prefix screen "$@"; }
on_desktop() { in_wine explorer "/desktop=screens,1500x1000" "$@"; }
product() { in_wine winepath -w "$build_dir/bin/$1" 2>/dev/null | tr -d '\r'; }
stop_wine() {
  WINEPREFIX=$build_dir/wine/screen wineserver -k || true
  WINEPREFIX=$build_dir/wine/screen wineserver -w
}

# wait_for TEXT: until a window with this title is shown, as Wine's own list of windows tells.
wait_for() {
  local try
  for ((try = 0; try < 100; try++)); do
    ! xwininfo -root -tree | grep -qF "\"$1" || return 0
    sleep 0.1
  done
  fail "no window '$1' has appeared"
}

# Each starts its program, and returns when it shows what the picture is to show.
show_smtrace() {
  on_desktop "$(product smtrace.exe)" &
  wait_for "Scan module trace"
  on_desktop "$(product smscan.exe)" --mode gray --resolution 75 --output "$work/page.bmp" >/dev/null
  sleep 2
}

# Wine finds the font of its title buttons only where Windows has its own.
give_fonts() {
  in_wine cmd /c ver >/dev/null # makes the prefix where it is missing
  cp -n -- /usr/share/wine/fonts/marlett.ttf "$build_dir/wine/screen/drive_c/windows/Fonts/"
}

# picture NAME RESOLUTION: inside the screen.
picture() {
  in_wine reg add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d "$2" /f >/dev/null
  stop_wine
  "show_$1"
  # The desktop around the window has one colour.
  import -window root png:- | convert - -trim +repage +dither -colors 128 "$folder/$1-$2.png"
  stop_wine
  say "$folder/$1-$2.png"
}

if [[ ${SCREENS_INSIDE-} == "" ]]; then
  export SCREENS_INSIDE=yes
  options=()
  for resolution in "${resolutions[@]}"; do
    options+=(--dpi "$resolution")
  done
  exec xvfb-run -a -s '-screen 0 1500x1000x24' "$0" "${options[@]}" "$folder"
fi
give_fonts
for resolution in "${resolutions[@]}"; do
  for program in smtrace; do
    picture "$program" "$resolution"
  done
done
