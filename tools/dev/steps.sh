# shellcheck shell=bash
# What the commands of ./dev are made of: messages, packages that have to be there, configuring and compiling.

say() { echo "== $*"; }

next() { echo "next: $*"; }

die() {
  echo "dev: $*" >&2
  exit 1
}

# Runs a command without its output, unless it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  # Of ninja's progress lines, only those of a failed command matter.
  if ((status != 0)); then sed -E '/^\[[0-9]+\/[0-9]+\] /d' "$log" >&2; fi
  rm -f "$log"
  return "$status"
}

# Installs those of the named Debian packages that are missing.
need() {
  local package installed as_root=() missing=()
  installed=$(dpkg-query -W -f='<${Package} ${db:Status-Status}>' "$@" 2>/dev/null || true)
  for package in "$@"; do
    [[ $installed == *"<$package installed>"* ]] || missing+=("$package")
  done
  ((${#missing[@]} > 0)) || return 0
  local install=(apt-get install -y --no-install-recommends "${missing[@]}")
  if ((EUID != 0)); then
    sudo -n true 2>/dev/null || die "packages are missing; as root, run: apt-get update && ${install[*]}"
    as_root=(sudo -n)
  fi
  say "installing ${missing[*]}"
  quietly "${as_root[@]}" apt-get update || die "no package lists; check the network and /etc/apt/sources.list"
  quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${install[@]}" ||
    die "the packages cannot be installed; as root, try: ${install[*]}"
}

# configure PRESET [PARTS]: PARTS are those of TESTS, EXAMPLES, BENCHMARKS to configure besides the library.
# They change no compiler option, so that turning one on or off recompiles nothing.
configure() {
  local preset=$1 part options=()
  for part in TESTS EXAMPLES BENCHMARKS; do
    if [[ " ${*:2} " == *" $part "* ]]; then options+=("-DORVEL_$part=ON"); else options+=("-DORVEL_$part=OFF"); fi
  done
  quietly cmake --preset "$preset" "${options[@]}" ||
    die "cannot configure; if the output above does not tell why, remove build/$preset and try again"
}

# compile PRESET TARGET...: on a terminal with ninja's line of progress.
compile() {
  local show=quietly
  if [[ -t 1 ]]; then show='command'; fi
  say "building ($1)"
  "$show" cmake --build --preset "$1" --target "${@:2}" || die "mend what the compiler says above and try again"
}
