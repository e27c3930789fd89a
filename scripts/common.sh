# What the scripts of this folder share; sourced by them.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
media=$root/.cache/media

say() { printf '%s: %s\n' "$(basename "$0")" "$*"; }
die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# as_root COMMAND...: runs it with the rights that installing needs.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    die "must be root, or have sudo, to run: $*"
  fi
}

# Fetches the package lists, once in a run.
update_lists() {
  [ -z "${lists_updated:-}" ] || return 0
  say "updating the package lists"
  as_root apt-get update -qq
  lists_updated=1
}

# build PRESET [TARGET...]: configures and builds, with ccache where it is installed.
build() {
  local preset=$1
  shift
  if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    # What one clone has compiled serves another.
    export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
  fi
  say "configuring and building ($preset)"
  (cd "$root" && cmake --preset "$preset" >"$root/build/configure-$preset.log" 2>&1) || {
    cat "$root/build/configure-$preset.log" >&2
    die "configuring failed"
  }
  (cd "$root" && cmake --build --preset "$preset" -j "$(nproc)" ${1:+--target "$@"}) ||
    die "building failed"
}
