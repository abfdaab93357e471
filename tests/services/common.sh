# Sourced by the scripts beside: a folder of their own, a database, and the conversation of the quick start.
# shellcheck shell=bash
set -eu
# Each runs by itself too: tests/services/ssh [BUILD_FOLDER].
data=$(cd "$(dirname "${BASH_SOURCE[0]}")/../data" && pwd)
bin=$(cd "${1:-$data/../../build}/bin" && pwd)

needs() {
  for program in "$@"; do
    PATH=$PATH:/usr/sbin command -v "$program" >/dev/null || { echo "skipped: there is no $program here"; exit 77; }
  done
}

work=$(mktemp -d "${TMPDIR:-/tmp}/qrd_services.XXXXXX")
started=()
clean_up() {
  for process in "${started[@]}"; do kill "$process" 2>/dev/null || true; done
  wait
  rm -rf "$work"
}
trap clean_up EXIT
cp -R "$data/root" "$work/root"
chmod -R u+w "$work/root"

# begin COMMAND...: in the background, until the end of the script; its number is in $process.
begin() {
  "$@" &
  process=$!
  started+=("$process")
}

# A port of the loopback address that is free now.
free_port() {
  local port
  while port=$((20000 + RANDOM % 12000)); (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do :; done
  echo "$port"
}

# Waits until somebody listens on the port.
await_port() {
  for _ in $(seq 200); do
    (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null && return
    sleep 0.05
  done
  echo "nobody listens on port $1" >&2
  exit 1
}

# conversation STUDY OPTION...: what the quick start does, with the options that lead to the server. Everything must
# come back as it does from a server of one's own.
conversation() {
  local study=$1
  shift
  local far=("$bin/qrd" --root "$work/root" --quiet --timeout 60 "$@") own=("$bin/qrd" --root "$work/root" --quiet)
  "${far[@]}" new study "$study"
  "${far[@]}" new directory "$study" Drilling
  "${far[@]}" import points "$study" Drilling collars "$data/collars.csv" \
    --x XCOLLAR --y YCOLLAR --z ZCOLLAR --coordinate-unit ft >"$work/said"
  "${far[@]}" import lines "$study" Drilling assays "$data/assays.csv" --line BHID --from FROM --to TO \
    --collars "$data/collars.csv" --surveys "$data/surveys.csv" --coordinate-unit ft --bits 32 \
    --unit FROM=ft --unit TO=ft >>"$work/said" 2>&1
  for question in "ls" "info Holes Drilling cores Cu" "stat Holes Drilling cores Cu Ni" \
    "read Holes Drilling cores hole from to Cu --line 2 --selection ore --compress --unit ft" \
    "ls $study Drilling --long" "stat $study Drilling assays CU" "export $study Drilling collars"; do
    # The words of a question are split on purpose.
    # shellcheck disable=SC2086
    "${far[@]}" $question >"$work/far"
    # shellcheck disable=SC2086
    "${own[@]}" $question >"$work/own"
    [ -s "$work/far" ] && cmp "$work/far" "$work/own" || { echo "differs: $question" >&2; exit 1; }
  done
}
