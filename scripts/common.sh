# What the scripts of this folder share; sourced by them. The comment at a script's head is its help;
# with -h or --help among its arguments a script prints it, and does nothing else.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
media=$root/.cache/media

say() { printf '%s: %s\n' "$(basename "$0")" "$*"; }
die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}
# Wrong usage. Arguments are judged before any work is done.
refuse() {
  printf '%s: %s\n' "$(basename "$0")" "$*; see --help" >&2
  exit 2
}
# refuse_unknown KIND NAME VALID...: a name must be one of the valid ones.
refuse_unknown() {
  local kind=$1 name=$2 valid
  shift 2
  for valid in "$@"; do [ "$name" != "$valid" ] || return 0; done
  refuse "no such $kind: $name (there are: $*)"
}
no_arguments() { [ $# -eq 0 ] || refuse "takes no arguments: $*"; }

for argument in "$@"; do
  case $argument in
    -h | --help)
      sed -n '1d; /^#/!q; s/^# \{0,1\}//p' "$0"
      exit 0
      ;;
  esac
done

# The legs of scripts/test: those of "all", and builds that only a name asks for.
all_legs=(release package levels style clang asan tsan arm64 fuzz)
more_legs=(debug ubsan)

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
