#!/usr/bin/env bash
# smscan is told to end in each phase of a scan, by the signals that a user, a script and timeout(1) send; and it
# scans where there is no room or no way to write. The exit code, the pages kept and the next scan are checked.
# usage: surroundings_test.sh BUILD_DIR
set -euo pipefail
build_dir=$1
wine_sh=$(dirname -- "${BASH_SOURCE[0]}")/../scripts/wine.sh
folder=$(mktemp -d)
mounted=
trap '[[ -z $mounted ]] || umount "$mounted"; rm -rf "$folder"' EXIT
failures=$folder/failures
touch "$failures"

smscan() { "$wine_sh" --build-dir "$build_dir" --prefix scan-tests "$build_dir/bin/smscan.exe" "$@"; }

# expect NAME WHAT WANTED GOT
expect() { [[ $3 == "$4" ]] || printf '%s: %s should be "%s" and is "%s"\n' "$1" "$2" "$3" "$4" | tee -a "$failures"; }

# await NAME COMMAND...: polls for a condition.
await() {
  local name=$1 tries=1500
  shift
  until "$@"; do
    ((tries-- > 0)) || { echo "$name: nothing came of: $*" | tee -a "$failures"; return; }
    sleep 0.02
  done
}

# The phases, as seen from outside. $out is the folder of the pages, $wine Wine's process.
wine_of() {
  local child
  for child in $(<"/proc/$1/task/$1/children"); do
    [[ $(readlink "/proc/$child/exe") != */wine* ]] || wine=$child
  done
  [[ -n $wine ]]
}
loaded() { grep -q "$1" "/proc/$wine/maps" 2>/dev/null; }
module_loaded() { loaded ScanModule.dll; }
source_loaded() { loaded sane.ds; }
page_begun() { compgen -G "$out/*.part*" >/dev/null; }
first_done() { [[ -e $out/p1.bmp ]]; }
second_begun() { first_done && page_begun; }

send() {
  case $1 in
    TERM | HUP) kill -"$1" "$2" ;;
    CTRL_C) kill -INT "$wine" ;;
    GROUP) kill -TERM -- "-$2" ;;
  esac
}

# ended PHASE SIGNAL PAGES SETTINGS OPTIONS: one row, with a folder of its own.
ended() {
  local out=$folder/$BASHPID rc=0 wine='' name="$1 $2 $4 $5"
  mkdir "$out"
  # A session of its own, so that GROUP reaches no one else.
  # shellcheck disable=SC2086 # lists of words
  env $4 setsid "$wine_sh" --build-dir "$build_dir" --prefix scan-tests "$build_dir/bin/smscan.exe" \
    --mode gray --resolution 50 $5 --output "$out/p%d.bmp" >"$out.log" 2>&1 &
  local program=$!
  (
    trap 'kill $!' TERM
    sleep 60 &
    wait $! || exit 0
    expect "$name" "how it ends" "by itself" "not within a minute"
    kill -KILL -- "-$program"
  ) &
  local patience=$!
  await "$name" wine_of "$program"
  await "$name" "$1"
  send "$2" "$program"
  wait "$program" || rc=$?
  kill "$patience"
  expect "$name" "the exit code" 5 "$rc"
  expect "$name" "what is left" "$3" "$(cd "$out" && echo *)"
  # Only a source that hangs needs force.
  [[ $4 == *hang* ]] || expect "$name" "the text" 'smscan: Cancelled. No page was scanned.' \
    "$(sed -n '/^smscan/{s/ 1 page kept/ No page was scanned/;p}' "$out.log" | tr -d '\r')"
  rm -f "$out"/*
  smscan --mode gray --resolution 50 --output "$out/next.bmp" >"$out.log" 2>&1 || rc=$?
  expect "$name" "what the next scan leaves" next.bmp "$(cd "$out" && echo *)"
}

# One scan so that all rows find Wine running.
smscan --resolution 50 --output "$folder/first.bmp" >/dev/null

slow='VSCAN_PAGES=3 VSCAN_DELAY=10 VSCAN_STRIPROWS=10'
hung='VSCAN_PAGES=3 VSCAN_FAILATPAGE=2 VSCAN_FAILBY=hang VSCAN_STRIPROWS=100 VSCAN_FAULTAFTERSTRIP=2'
hung_first='VSCAN_FAILATPAGE=1 VSCAN_FAILBY=hang VSCAN_STRIPROWS=100 VSCAN_FAULTAFTERSTRIP=2'
boxed='VSCAN_WINDOW=0 VSCAN_PIXELTYPE=Gray VSCAN_BITDEPTH=4 VSCAN_READONLYCAPABILITIES=ICAP_PIXELTYPE'
none='*'
while IFS='|' read -r phase signal pages settings options; do
  ended "$phase" "$signal" "$pages" "$settings" "$options" &
done <<EOF
module_loaded|TERM|$none|VSCAN_OPENFAULT=hang|
source_loaded|CTRL_C|$none|VSCAN_OPENFAULT=hang|
source_loaded|GROUP|$none|VSCAN_PAGES=1|--ui
source_loaded|HUP|$none|$slow|--ui --mech native
page_begun|CTRL_C|$none|$slow|--pages all
page_begun|TERM|$none|$slow|--pages all --mech block
second_begun|GROUP|p1.bmp|$slow|--pages all
second_begun|TERM|p1.bmp|$hung|--pages all
first_done|CTRL_C|p1.bmp|VSCAN_PAGES=2 VSCAN_FAILATPAGE=2 VSCAN_FAILBY=hang|--pages all --mech native
page_begun|CTRL_C|$none|$hung_first|--presto
source_loaded|TERM|$none|$boxed|--presto
page_begun|GROUP|$none|$hung_first|--presto
EOF
wait

# unwritable PATH MECHANISM...: no page, nothing left of it, and exit code 6.
unwritable() {
  local path=$1 rc=0 options
  for options in "${@:2}"; do
    rc=0
    # shellcheck disable=SC2086 # a list of words
    smscan --mode gray --resolution 100 $options --output "$path" >"$folder/log" 2>&1 || rc=$?
    expect "$path $options" "the exit code" 6 "$rc"
    expect "$path $options" "what is left" '' "$(ls "${path%/*}/"*.bmp 2>/dev/null || :)"
  done
}
unwritable /proc/p.bmp '' --presto
unwritable "$folder/first.bmp/p.bmp" '' --presto
mkdir "$folder/small"
if mount -t tmpfs -o size=64k tmpfs "$folder/small" 2>/dev/null; then
  mounted=$folder/small
  unwritable "$folder/small/p.bmp" '--mech memory' '--mech native' '--mech file' '--mech block' --presto
  mount -o remount,ro "$folder/small"
  unwritable "$folder/small/p.bmp" ''
else
  echo "No tmpfs can be mounted here, so a limit on the size of files stands for the full disk, and no folder is read-only."
  trap '' XFSZ
  (ulimit -f 64 && unwritable "$folder/small/p.bmp" '--mech memory' '--mech native' '--mech file' '--mech block' --presto)
fi

[[ ! -s $failures ]]
