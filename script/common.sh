# shellcheck shell=bash
# What the scripts here share: the place of the tree, their way to speak, to install what is missing and to build.

root=$(realpath "$(dirname "${BASH_SOURCE[0]}")/..")
self=script/$(basename "$0")

# Packages of Debian 12, by what they are needed for.
build_packages=(g++ cmake ninja-build pkg-config libcli11-dev libopenipmi-dev libsystemd-dev nlohmann-json3-dev bubblewrap)
demo_packages=("${build_packages[@]}" socat)
fleet_packages=(openipmi ipmitool systemd systemd-journal-remote python3)  # beside those to build
fuzz_packages=("${build_packages[@]}" clang libclang-rt-dev llvm)
page_packages=(cockpit-ws cockpit-bridge python3)
browser_packages=(chromium chromium-driver python3-selenium)  # in which the page is tested and measured
package_packages=(dpkg-dev file)  # beside those to build
test_packages=("${fuzz_packages[@]}" "${package_packages[@]}" libgtest-dev openipmi ipmitool freeipmi-tools
  rsyslog logrotate socat zsh
  "${fleet_packages[@]}" "${page_packages[@]}" "${browser_packages[@]}")
lint_packages=("${test_packages[@]}" libbenchmark-dev clang-format clang-tidy shellcheck git)

say() { echo "== $*"; }

# Ends the script with message $1 and status $2, or 1.
fail() {
  echo "$self: $1" >&2
  exit "${2:-1}"
}

# The end for wrong arguments.
wrong() { fail "$1" 2; }

# Whether this user can make the namespaces of a private machine.
has_namespaces() {
  if type -P bwrap >/dev/null; then
    bwrap --unshare-pid --ro-bind / / --dev /dev --proc /proc true 2>/dev/null
  else  # the same right, before the package is there
    unshare --user --map-root-user --mount --pid --fork true 2>/dev/null
  fi
}

# Ends the script where a plain user has no right to make namespaces. Root needs none.
require_namespaces() {
  ((EUID == 0)) || has_namespaces || fail "a plain user needs the right to make namespaces, and this one has not; \
run it as root, or see 'sysctl kernel.unprivileged_userns_clone user.max_user_namespaces'" 125
}

# Copies the log $2, which becomes /var/log/$1, to standard output. Lines that begin with an ISO stamp, as Debian 12
# writes them unless told otherwise, get the traditional one, which the module knows; standard error says so.
copy_log() {
  local month number=1 iso='^[0-9]{4}-[01][0-9]-[0-3][0-9]T[0-2][0-9](:[0-9]{2}){2}[^ ]* ' program
  program="0,/$iso/{//{
    h
    s|.*|$self: ${1//[^[:alnum:]._-]/?} has ISO stamps; its copy gets traditional ones (Mmm dd hh:mm:ss)|
    w /dev/stderr
    g
    }}
    /$iso/{"
  for month in Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec; do
    printf -v program '%s\ns/^....-%02d-/%s /' "$program" $((number++)) $month
  done
  LC_ALL=C sed -E "$program"'
    s/^(... )0/\1 /
    s/^(.{6})T(.{8})[^ ]*/\1 \2/
    }' <"$2"
}

# Installs those of the packages $@ that are missing; quick and quiet when none is. Under ctest, which sets
# KESTRUNE_INSTALL=never, missing ones are an error: only who starts a script wants packages installed.
install_missing() {
  local installed package missing=() as_root=(env)
  type -P dpkg-query apt-get >/dev/null || fail "no apt-get here; install what these Debian packages hold: $*"
  installed=" $(dpkg-query --show --showformat '${db:Status-Status}:${Package} ' "$@" 2>/dev/null || true)"
  for package; do
    [[ $installed == *" installed:$package "* ]] || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  [[ ${KESTRUNE_INSTALL-} != never ]] || fail "missing packages, which a test does not install: ${missing[*]}"
  if ((EUID != 0)); then
    type -P sudo >/dev/null || fail "missing packages; as root, run: apt-get install -y ${missing[*]}"
    as_root=(sudo env)
  fi
  say "installing ${missing[*]}"
  as_root+=(DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0)
  "${as_root[@]}" update || echo "$self: apt-get update failed; trying with the package lists at hand" >&2
  "${as_root[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null ||
    fail "could not install: ${missing[*]}"
}

# Configures and builds preset $1, into build/$1 unless an option -B follows. What follows goes to the configuration; what
# follows -- is built, in place of everything.
build() {
  local folder=build/$1 quiet=(--quiet) options=() targets=()
  [[ ${2-} != -B ]] || folder=$3
  [[ ! -t 1 ]] || quiet=()
  while (($#)) && [[ $1 != -- ]]; do options+=("$1") && shift; done
  (($# == 0)) || targets=(--target "${@:2}")
  say "building $folder"
  (cd "$root" && cmake --preset "${options[@]}" >/dev/null &&
    cmake --build "$folder" "${targets[@]}" -- -j "$(nproc)" "${quiet[@]}")
}
