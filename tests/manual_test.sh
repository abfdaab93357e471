#!/bin/sh
# Every option that a program takes stands in its manual page, and roff has nothing to say of the pages.
# manual_test.sh SOURCE_FOLDER PROGRAM_FOLDER PAGE_FOLDER
set -eu
source=$1
programs=$2
pages=$3
failed=0
missing() {
  echo "$1 lacks $2"
  failed=1
}

# As a reader sees it. What an entry is about begins a line.
text_of() { sed -e 's/\\f[BR]//g' -e 's/\\-/-/g' -e 's/\\e/\\/g' "$pages/$1"; }

server=$(text_of QRDserver.8)
for option in $(sed -n 's/.*is("\(-[a-z_-]*\)").*/\1/p' "$source/src/server/options.cpp" | sort -u) \
  $(grep -rhoE '"QRD_[A-Z_]+"' "$source/src" | tr -d '"' | sort -u); do
  printf '%s\n' "$server" | grep -qE -- "(^|, )$option( |,|\$)" || missing QRDserver.8 "$option"
done

# Those of a command, whose subcommands' names follow.
options_of() { "$programs/qrd" "$@" --help | grep -oE '^  -[^ ]*' | tr -d ' ' | tr ',' '\n'; }
subcommands_of() { "$programs/qrd" "$@" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p'; }
client=$(text_of qrd.1)
check_command() {
  section=$client
  [ -z "$*" ] || section=$(printf '%s\n' "$client" | awk -v head=".SS qrd $*" '
    /^\.S[SH]/ { within = $0 == head || index($0, head " ") == 1 } within')
  for option in $(options_of "$@"); do
    [ "$option" != -h ] && [ "$option" != --help ] || section=$client
    printf '%s\n' "$section" | grep -q -- "$option\\b" || missing qrd.1 "$option of qrd $*"
  done
}
commands=0
check_command
for command in $(subcommands_of); do
  below=$(subcommands_of "$command")
  [ -n "$below" ] || check_command "$command"
  for subcommand in $below; do check_command "$command" "$subcommand"; done
  commands=$((commands + 1))
done
[ "$commands" -gt 10 ] || missing qrd.1 "its commands"

if command -v groff >/dev/null; then
  for page in "$pages"/*.[1-8]; do
    said=$(groff -man -Tutf8 -ww -z "$page" 2>&1)
    [ -z "$said" ] || missing "${page##*/}" "sound roff: $said"
  done
fi
exit "$failed"
