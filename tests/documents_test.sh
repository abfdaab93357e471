#!/bin/sh
# The commands of the documents work: the blocks "```sh" of each run one after the other, in a folder with the sample
# database as DB, the programs in build/bin and in PATH, and the tables in tests/data. A block that needs more than
# that, such as another machine, is marked "```sh elsewhere", and only its options are looked at.
# documents_test.sh SOURCE_FOLDER PROGRAM_FOLDER
set -eu
source=$1
programs=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
blocks=0
# Commands that this program was built without can't run.
lacking=/^$/d
for command in plot view; do
  if "$programs/qrd" "$command" --help | grep -q '^Not built in'; then lacking="$lacking;/^qrd\b.*\b$command\b/d"; fi
done
for document in "$source"/README.md "$source"/docs/*.md; do
  place=$work/place
  rm -rf "$place"
  mkdir -p "$place/build"
  ln -s "$programs" "$place/build/bin"
  ln -s "$source/tests" "$place/tests"
  cp -R "$source/tests/data/root" "$place/DB"
  chmod -R u+w "$place/DB"
  # Each line is told before it runs, so that the one that fails is the last one told.
  awk '/^```sh$/ { block = 1; print "# line " NR; next } /^```/ { block = 0 } block' "$document" | sed "$lacking" >"$work/commands"
  blocks=$((blocks + $(grep -c '^# line' "$work/commands" || true)))
  (cd "$place" && env -u QRD_ROOT -u QRD_SERVER PATH="$programs:$PATH" sh -euv "$work/commands") </dev/null >"$work/output" 2>&1 || {
    echo "$document: a command fails:"
    tail -n 15 "$work/output"
    failed=1
  }
  # Elsewhere, too, the program has to know its options.
  for option in $(awk '/^```sh elsewhere$/ { block = 1; next } /^```/ { block = 0 } block && /^qrd /' "$document" | sed "$lacking" |
    sed "s/['#].*//" | grep -oE -- '--[a-z-]+' | sort -u); do
    "$programs/qrd" manual | grep -q -- "\`$option\`" || {
      echo "$document: qrd has no option $option"
      failed=1
    }
  done
done
[ "$blocks" -gt 0 ] || { echo "no document has a command"; exit 1; }
echo "$blocks blocks ran"
exit "$failed"
