#!/bin/sh
# An installation starts the program of the prefix that was named last, and leaves nothing when it is undone.
# install_test.sh BUILD_FOLDER
set -eu
build=$1
work=$(mktemp -d)
manifest=$build/install_manifest.txt
prefix=$build/install_prefix.txt
# A test must not forget what somebody has installed from this build.
for kept in "$manifest" "$prefix"; do
  if [ -e "$kept" ]; then cp "$kept" "$work"; fi
done
finish() {
  for kept in "$manifest" "$prefix"; do
    rm -f "$kept"
    if [ -e "$work/${kept##*/}" ]; then cp "$work/${kept##*/}" "$kept"; fi
  done
  rm -rf "$work"
}
trap finish EXIT

cmake --install "$build" --prefix "$work/one" >"$work/log"
cmake --install "$build" --prefix "$work/two" >"$work/log"
for place in one two; do
  for unit in QRDserver.service QRDserver@.service; do
    grep -q "^ExecStart=$work/$place/bin/QRDserver -" "$work/$place/lib/systemd/system/$unit" || {
      echo "$place: $unit does not start the program of its prefix" >&2
      exit 1
    }
  done
  "$work/$place/bin/QRDserver" -version >/dev/null
  # What qrd loads when it is needed is there: the complaint is of the database.
  said=$("$work/$place/bin/qrd" --root "$work/none" view --no-browser 2>&1) && exit 1
  case $said in *"Not built in"* | *"$work/none"*) ;; *) echo "$said" >&2; exit 1 ;; esac
done

touch "$work/two/lib/somebody-elses"
# Where the Python package is built, it has been used.
find "$work/two" -name __init__.py -execdir python3 -m compileall -q . ';'
cmake --build "$build" --target uninstall >"$work/log"
left=$(cd "$work" && find two | sort | tr '\n' ' ')
[ "$left" = "two two/lib two/lib/somebody-elses " ] || { echo "left behind: $left" >&2; exit 1; }
[ -x "$work/one/bin/qrd" ] || { echo "another installation was touched" >&2; exit 1; }
