# Sourced by the checks: how a source is compiled.
# shellcheck shell=bash

# The options for a source in the compile commands of a folder, one a line.
flags_of() {
  local command
  command=$(sed -n "\\|\"command\":.* -c $PWD/$2\",\$|{s/^ *\"command\": \"//; s/ -o [^ ]* -c [^ ]*\",\$//; s/\\\\\\(.\\)/\\1/g; p; q}" "$1/compile_commands.json")
  eval "set -- $command"
  while [ $# -gt 0 ] && [ "${1#-}" = "$1" ]; do shift; done
  printf '%s\n' "$@"
}
