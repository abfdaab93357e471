# Sourced by the scripts of the top folder: where to build, and with what.
# shellcheck shell=dash

# A checkout that belongs to somebody else is built in a folder of one's own.
build_root=$PWD
for folder in "$PWD" "$PWD/build" "$PWD/build-sanitizers" "$PWD/build-clang"; do
  if [ -e "$folder" ] && [ ! -w "$folder" ]; then
    build_root=${TMPDIR:-/tmp}/QRDserver-build-$(id -u)
    mkdir -p "$build_root"
    [ -O "$build_root" ] || { echo "$build_root belongs to somebody else" >&2; exit 1; }
  fi
done

export CXX="${CXX:-g++}"
export CMAKE_GENERATOR="${CMAKE_GENERATOR:-Ninja}"
if command -v ccache >/dev/null; then export CMAKE_CXX_COMPILER_LAUNCHER=ccache; fi
# What two builds compile alike is compiled once, though it lies in folders of their own.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$PWD}"
# What a source includes the compiler tells anyway.
export CCACHE_DEPEND=1

title() { printf '\n== %s\n' "$*"; }

# configure PRESET FOLDER [OPTION...]
configure() {
  local preset="$1" folder="$2"
  shift 2
  mkdir -p "$folder"
  cmake --preset "$preset" -B "$folder" -Wno-dev "$@" >"$folder/configure.log" 2>&1 || {
    cat "$folder/configure.log" >&2
    return 1
  }
}

# build FOLDER [OPTION...]; with QRD_NICE that much behind all else.
build() {
  local folder="$1"
  shift
  nice -n "${QRD_NICE:-0}" cmake --build "$folder" --parallel "$(nproc)" "$@"
}
