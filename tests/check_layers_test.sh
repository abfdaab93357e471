#!/bin/bash
# check-layers finds every way of using a layer that may not be used, and nothing in a tree without one. So does
# check-fatal-ends beside it with headers that don't tell which functions may end the process.
#
#   check_layers_test.sh CHECK_LAYERS
set -euo pipefail
check=$(realpath "$1")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
export CXX=${CXX:-g++}
failures=0

# A tree of two layers, in which "low" may use nothing.
make_tree() {
  rm -rf "${tree:?}"/*
  mkdir -p "$tree"/src/{low,high} "$tree/build/src"
  printf 'low:\nhigh: low\n' >"$tree/src/layers"
  echo 'int low(); inline int low_inline() { return 1; }' >"$tree/src/low/low.h"
  printf '#include "low/low.h"\nint low() { return 1; }\n' >"$tree/src/low/low.cpp"
  echo 'int high(); inline int high_inline() { return 2; }' >"$tree/src/high/high.h"
  printf '#include "high/high.h"\n#include "low/low.h"\nint high() { return low(); }\n' >"$tree/src/high/high.cpp"
}

# Builds what can be built, as the libraries of a build.
build_tree() {
  local layer source
  for layer in low high; do
    for source in "$tree/src/$layer"/*.cpp; do
      "$CXX" -std=c++20 -I"$tree/src" -c "$source" -o "$tree/build/$layer-$(basename "$source").o"
    done
    ar rc "$tree/build/src/libqrd_$layer.a" "$tree/build/$layer"-*.o
  done
}

# expect STATUS NAME: what the check says of the tree.
expect() {
  local status=0
  build_tree
  "$check" "$tree/build" "$tree" >"$tree/output" 2>&1 || status=$?
  if [ "$status" != "$1" ] || { [ "$1" = 1 ] && ! grep -q "A layer uses" "$tree/output"; }; then
    echo "$2: status $status"
    cat "$tree/output"
    failures=$((failures + 1))
  fi
}

# trick NAME TEXT: the same with a source of such a text in "low".
trick() {
  make_tree
  printf '%b' "$2" >"$tree/src/low/trick.cpp"
  expect 1 "$1"
}

make_tree
expect 0 "A sound tree"

trick "An include" '#include "high/high.h"\n'
trick "An include in angle brackets" '#include <high/high.h>\n'
trick "Blanks in the directive" '  #  include   "high/high.h"\n'
trick "A comment in the directive" '/* */ # /* */ include /* */ "high/high.h"\n'
trick "A directive over two lines" '#include \\\n"high/high.h"\n'
trick "A name by a macro" '#define HIGH "high/high.h"\n#include HIGH\n'
trick "A relative path" '#include "../high/high.h"\n'
trick "A path with detours" '#include "low/../low/../high/high.h"\n'
trick "The source of the other layer" '#include "../high/high.cpp"\n'
trick "A declaration of its own" 'int high();\nint trick() { return high(); }\n'
trick "An assembler name" 'int other() __asm__("_Z4highv");\nint trick() { return other(); }\n'
trick "A look-up by name" '#include <dlfcn.h>\nvoid* trick() { return dlsym(nullptr, "_Z4highv"); }\n'
trick "Only if it is there" '#if __has_include("high/high.h")\n#include "high/high.h"\n#endif\n'

make_tree
echo '#include "high/high.h"' >"$tree/src/low/more.h"
printf '#include "low/more.h"\n' >"$tree/src/low/trick.cpp"
expect 1 "Through a header of its own"

make_tree
ln -s ../high/high.h "$tree/src/low/borrowed.h"
printf '#include "low/borrowed.h"\n' >"$tree/src/low/trick.cpp"
expect 1 "A link to the header"

make_tree
echo 'inline int part() { return 3; }' >"$tree/src/low/part.inc"
expect 1 "A file that is neither a source nor a header"

# The comments above the declarations of ends(), passes(), errs() and a destructor.
headers() {
  printf '%b' "$2\nvoid ends();\n${3:+$3\n}void passes();\n${4:+$4\n}void errs();\nstruct owner {\n${5:+  $5\n}  ~owner();\n};\n" >"$tree/src/low/ends.h"
  local status=0
  "$(dirname "$check")/check-fatal-ends" "$tree/program" "$tree/src/low" >"$tree/output" 2>&1 || status=$?
  if [ "$status $(wc -l <"$tree/output")" != "$1" ]; then
    echo "Headers with \"$2\", \"$3\", \"$4\", \"$5\": status $status"
    cat "$tree/output"
    failures=$((failures + 1))
  fi
}

if [ "$(uname -m)" = x86_64 ]; then
  make_tree
  rm "$tree"/src/low/low.*
  cat >"$tree/program.cpp" <<'TEXT'
namespace qrd {
void qu_exit(int) {}
void qu_fatal() { qu_exit(2); }
void qu_fatal_number() { qu_fatal(); }
void qu_misuse() { qu_exit(2); }
void qu_misuse_number() { qu_misuse(); }
void ends() { qu_fatal(); }
void act(void (*what)()) { what(); }
void passes() { act([] { ends(); }); }
void errs() { qu_misuse_number(); }
struct owner { ~owner(); };
owner::~owner() { ends(); }
}
int main() {}
TEXT
  "$CXX" -std=c++20 -O0 "$tree/program.cpp" -o "$tree/program"
  says='// It may. May end the process.'
  headers "0 0" "$says" "" "\n" "$says"
  headers "1 1" "$says" "" "\n" ""
  headers "1 1" "$says" "// Another." "\n" "$says"
  headers "1 1" "$says" "" "$says" "$says"
  headers "1 3" "" "" "" ""
  headers "0 0" "// May end the process, as may all that call it." "\n" "" ""
  headers "1 1" "// May end the process, here and below.\n" "" "" ""
  strip "$tree/program"
  headers "1 1" "$says" "" "\n" "$says"
fi

exit $((failures > 0))
