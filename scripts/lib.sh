# shellcheck shell=bash
# Shared by the scripts of this folder; sourced, not run.

# shellcheck disable=SC2034 # for the scripts that source this
REPO=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
SCRIPT_NAME=${0##*/}

say() { printf '%s\n' "$*" >&2; }
fail() {
  printf '%s: %s\n' "$SCRIPT_NAME" "$*" >&2
  exit 1
}

# need_value "$@": fails when the option that stands first, which takes a value, is the last word.
need_value() { (($# > 1)) || fail "$1 needs a value"; }

# run_step TITLE LOG COMMAND...: runs a command quietly; its output goes to LOG, of which the first errors and
# the end are shown when the command fails.
run_step() {
  local title=$1 log=$2 rc=0
  shift 2
  mkdir -p -- "${log%/*}"
  say "$title"
  "$@" >"$log" 2>&1 </dev/null || rc=$?
  if ((rc != 0)); then
    tail -n 40 -- "$log" >&2
    say "The first errors in it:"
    grep -m 10 -E '^FAILED|[Ee]rror[: ]' -- "$log" >&2 || say "  (no line tells of one)"
    fail "this step failed with exit code $rc: $title
  command: $*
  its whole output: $log"
  fi
}

# locked FILE COMMAND...: runs a function or command while no other script holds the lock on FILE.
# What the command starts does not inherit the lock: a server left running must not keep it.
locked() {
  local file=$1
  shift
  mkdir -p -- "${file%/*}"
  exec 9>"$file"
  if ! flock -n 9; then
    say "Waiting for another run of these scripts to let go of $file ..."
    flock 9
  fi
  "$@" 9>&-
  exec 9>&-
}
