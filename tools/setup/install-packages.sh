#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need: both mingw-w64
# toolchains, CMake and Ninja, 32-bit Wine, an X virtual display and the tools
# to drive it, the native toolchain and libraries of the sanitizer build, the
# code-signing tool, and what the benchmarks run. Idempotent: when every
# package is present it does nothing.
#
# The plain way is tried first. When it fails (seen once: the security suite's
# i386 index was mid-sync, which left wine32:i386 uninstallable), apt is run
# again with a source list that holds only the main suites.
set -euo pipefail

packages=(
  g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix mingw-w64-tools
  libz-mingw-w64-dev cmake ninja-build googletest dpkg-dev patch python3
  wine wine64 wine32:i386 xvfb xauth xdotool
  # The native build: the packing tool for Linux, the portable code under its
  # sanitizers, and the fuzzers.
  clang libclang-rt-14-dev libgtest-dev libgmock-dev libarchive-dev libpugixml-dev zlib1g-dev
  libboost1.81-dev libboost-filesystem1.81-dev libboost-system1.81-dev
  libboost-date-time1.81-dev
  # Signing a packed installer, with a throwaway certificate in the tests.
  osslsigncode openssl
  # The benchmarks: instruction counts, and the native bsdtar they compare to.
  valgrind libarchive-tools
)

missing() {
  local p
  for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep -q '^install ok installed$' || echo "$p"
  done
}

sudo_() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

# deb-src lines are needed by the dependency build (apt-get source).
enable_deb_src() {
  local f=/etc/apt/sources.list.d/debian.sources
  if [ -f "$f" ] && grep -q '^Types: deb$' "$f"; then
    sudo_ sed -i 's/^Types: deb$/Types: deb deb-src/' "$f"
    return 0
  fi
  return 1
}

need_update=0
if ! dpkg --print-foreign-architectures | grep -qx i386; then
  sudo_ dpkg --add-architecture i386
  need_update=1
fi
enable_deb_src && need_update=1
# Source indices are missing until an update has run with deb-src enabled.
if ! ls /var/lib/apt/lists/*_Sources* >/dev/null 2>&1; then need_update=1; fi

todo=$(missing)
if [ -z "$todo" ] && [ "$need_update" -eq 0 ]; then
  exit 0
fi

export DEBIAN_FRONTEND=noninteractive
echo "setup: installing:" $todo
if sudo_ apt-get update -q && sudo_ apt-get install -y -q --no-install-recommends "${packages[@]}"; then
  exit 0
fi

echo "setup: the plain install failed; retrying with the main suites only" >&2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cat >"$scratch/main.sources" <<'SRC'
Types: deb deb-src
URIs: http://deb.debian.org/debian
Suites: bookworm bookworm-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SRC
opts=(-o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$scratch")
sudo_ apt-get "${opts[@]}" update -q
sudo_ apt-get "${opts[@]}" install -y -q --no-install-recommends "${packages[@]}"
