#!/bin/bash
# What bash offers for the last word of a line of qrd, with names of the sample database.
# completion_test.sh SOURCE_FOLDER PROGRAM_FOLDER
set -u
source=$1
PATH=$2:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -R "$source/tests/data/root" "$work/DB"
chmod -R u+w "$work/DB"
cd "$work" || exit 1
# shellcheck source=packaging/completion/qrd.bash
. "$source/packaging/completion/qrd.bash"
failed=0

# offers WORD... -- WANTED...: the last word is the one to complete.
offers() {
  COMP_WORDS=(qrd)
  while [ "$1" != -- ]; do
    COMP_WORDS+=("$1")
    shift
  done
  shift
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMPREPLY=()
  _qrd 2>"$work/errors"
  local wanted="$*" got="${COMPREPLY[*]-}"
  if [ "$got" != "$wanted" ] || [ -s "$work/errors" ]; then
    echo "${COMP_WORDS[*]}: offered \"$got\", not \"$wanted\"; $(cat "$work/errors")"
    failed=1
  fi
}

offers st -- stat
offers import li -- lines
offers read --comp -- --compress
offers --root DB --js -- --json
offers write --below-detection h -- half
offers --root DB ls Ho -- Holes
offers --root DB stat Holes Drilling cores --selection = o -- ore
offers ls --root = DB Holes D -- Drilling
offers --root DB read Archive "Old" -- 'Old\ data'
offers --root DB read Archive '"Old' -- 'Old data'
offers --root DB read Archive 'Old\ data' c -- cube
offers --root DB read Holes Drilling cores Cu N -- Ni
offers --root DB read Holes Drilling cores --selection o -- ore
offers --root DB read Holes Drilling cores --line B1-321N -- B1-321NE B1-321NW
offers --root DB link Holes Drilling cores coll -- collars
offers --root DB link Holes Drilling cores collars --names h -- hole
offers --root DB palettes Holes Gr -- Grades
offers --root DB read Holes/Dri -- Holes/Drilling
offers --root DB read Holes/Drilling/cores N -- Ni
offers --root DB find cores Ho -- Holes
offers --root DB read Holes Drilling nothing C --
offers --root "$work/nothing" ls "" --
offers --server 127.0.0.1:1 --root DB ls "" --
offers --via 'touch asked' --root DB ls "" --
[ ! -e asked ] || { echo "a command was run"; failed=1; }
exit "$failed"
