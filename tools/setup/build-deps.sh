#!/usr/bin/env bash
# Cross-builds the third-party libraries (zstd, libarchive with zlib and zstd,
# pugixml, Boost) from Debian's source packages for one mingw-w64 architecture
# and installs them into a cached prefix outside the checkout.
#
# Usage: build-deps.sh ARCH      ARCH is i686 or x86_64
# Prints the prefix on its last line of standard output. A prefix is reused
# when its key (the source package versions, the compiler version, the
# toolchain files and this script) is unchanged; a finished prefix holds the
# marker file ".complete".
set -euo pipefail

arch=${1:?usage: build-deps.sh i686|x86_64}
case "$arch" in i686|x86_64) ;; *) echo "unknown architecture: $arch" >&2; exit 2 ;; esac
triple=$arch-w64-mingw32
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
cache=${ORVIK_DEPS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/orvikpkg-deps}
src=$cache/sources
jobs=${JOBS:-$(nproc)}

log() { echo "deps[$arch]: $*" >&2; }

fetch_sources() {
  mkdir -p "$src"
  local pkg missing=()
  for pkg in boost1.81 libarchive libzstd pugixml; do
    ls "$src/${pkg}_"*.dsc >/dev/null 2>&1 || missing+=("$pkg")
  done
  if [ ${#missing[@]} -gt 0 ]; then
    log "downloading source packages: ${missing[*]}"
    (cd "$src" && apt-get source --download-only "${missing[@]}" >&2)
  fi
}


fetch_sources
key=$( {
  ls "$src"/*.dsc | xargs -n1 basename
  "$triple-g++-posix" --version | head -n 1
  cat "$root/cmake/mingw-common.cmake" "$root/cmake/toolchain-$triple.cmake" "$0"
  cat "$here"/patches/*.patch
} | sha256sum | cut -c1-16)
prefix=$cache/$key/$arch
if [ -f "$prefix/.complete" ]; then
  log "cached at $prefix"
  echo "$prefix"
  exit 0
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/orvikpkg-deps.XXXXXX")
trap 'rm -rf "$work"' EXIT
rm -rf "$prefix"
mkdir -p "$prefix"
export ORVIK_DEPS_PREFIX=$prefix
toolchain=$root/cmake/toolchain-$triple.cmake
# Optimised for size, one section per function and object, so that the
# product's --gc-sections keeps only what it calls (pugixml, for one, is a
# single translation unit).
section_flags="-ffunction-sections -fdata-sections"
cmake_build() { # NAME SOURCE_DIR [CMAKE ARGS...]
  local name=$1 dir=$2; shift 2
  local start=$SECONDS
  log "building $name"
  cmake -S "$dir" -B "$work/build-$name" -G Ninja -Wno-dev \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=MinSizeRel \
    -DCMAKE_C_FLAGS="$section_flags" -DCMAKE_CXX_FLAGS="$section_flags" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DBUILD_SHARED_LIBS=OFF "$@" >"$work/$name.log" 2>&1 ||
    { tail -n 40 "$work/$name.log" >&2; return 1; }
  cmake --build "$work/build-$name" -j "$jobs" >>"$work/$name.log" 2>&1 &&
    cmake --install "$work/build-$name" >>"$work/$name.log" 2>&1 ||
    { tail -n 40 "$work/$name.log" >&2; return 1; }
  log "built $name in $((SECONDS - start)) s"
}

# Unpacks a source package with Debian's patches applied (libarchive's carry
# security fixes) and prints its folder.
unpack() { # PACKAGE
  local dest=$work/src-$1
  dpkg-source --no-check -x "$(ls "$src/${1}_"*.dsc | head -n 1)" "$dest" >&2
  echo "$dest"
}

zstd_dir=$(unpack libzstd)
cmake_build zstd "$zstd_dir/build/cmake" -DZSTD_BUILD_SHARED=OFF -DZSTD_BUILD_STATIC=ON \
  -DZSTD_BUILD_PROGRAMS=OFF -DZSTD_BUILD_TESTS=OFF -DZSTD_MULTITHREAD_SUPPORT=OFF \
  -DZSTD_LEGACY_SUPPORT=OFF

# Debian's mingw zlib uses the C calling convention. Stating it spares
# libarchive's configure a cross-compiled try_run, which crashes CMake 3.25
# for x86_64.
archive_dir=$(unpack libarchive)
# Our own patches (see each file's header) on top of Debian's.
for p in "$here"/patches/libarchive-*.patch; do
  patch -d "$archive_dir" -p1 --quiet <"$p" >&2
done
cmake_build libarchive "$archive_dir" -DENABLE_TEST=OFF -DENABLE_TAR=ON -DENABLE_CPIO=OFF \
  -DENABLE_CAT=OFF -DENABLE_OPENSSL=OFF -DENABLE_LZMA=OFF -DENABLE_LZ4=OFF -DENABLE_BZip2=OFF \
  -DENABLE_LIBXML2=OFF -DENABLE_EXPAT=OFF -DENABLE_ICONV=OFF -DENABLE_LIBB2=OFF -DENABLE_CNG=OFF \
  -DENABLE_MBEDTLS=OFF -DENABLE_NETTLE=OFF -DENABLE_ZSTD=ON -DENABLE_ZLIB=ON \
  -DZLIB_LIBRARY="/usr/$triple/lib/libz.a" -DZLIB_INCLUDE_DIR="/usr/$triple/include" \
  -DZLIB_WINAPI_WITH_LIB="/usr/$triple/lib/libz.a" -DZLIB_WINAPI=0 \
  -DZSTD_LIBRARY="$prefix/lib/libzstd.a" -DZSTD_INCLUDE_DIR="$prefix/include"

pugi_dir=$(unpack pugixml)
cmake_build pugixml "$pugi_dir"

boost_dir=$(unpack boost1.81)
cmake_build boost "$boost_dir" \
  -DBOOST_INCLUDE_LIBRARIES="filesystem;system;format;date_time;lexical_cast"

touch "$prefix/.complete"
# Prefixes of this architecture under older keys are no longer used.
for old in "$cache"/*/"$arch"; do
  [ "$old" = "$prefix" ] || rm -rf "$old"
done
log "installed into $prefix"
echo "$prefix"
