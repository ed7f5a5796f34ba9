#!/usr/bin/env bash
# The packing tool built for Linux on a folder (names beyond ASCII, two that UTF-16 and UTF-32 sort
# apart, an empty folder, a file over several 1 MiB blocks, links inside, read-only files), a tar of
# exactly one block, and a ready archive with an online-install description: any thread count gives
# the same installer, its payload one whole gzip member; the folder comes out with links stored as
# what they lead to and fixed modes, the archive and description byte for byte. Each mistake of the
# table is refused with its cause, leaving nothing. Given WINE_RUN, the Windows tool run through it
# writes the same bytes and, for rows marked "both", refuses alike.
# Usage: pack_tool_test.sh TOOL BIN_DIR [WINE_RUN]   (BIN_DIR: the Windows build's programs)
set -euo pipefail
tool=$(realpath "$1") bin=$(realpath "$2") wine=${3:-}
bench=$(cd "$(dirname "$0")/../../bench" && pwd)
for file in preinstall.exe payload_probe.exe orvikpkg-pack.exe; do
  [ -f "$bin/$file" ] || { echo "FAIL: no $bin/$file: build the Windows programs (make build)"; exit 1; }
done
scratch=$(mktemp -d)
trap 'chmod -R u+w "$scratch"; rm -rf "$scratch"' EXIT
cd "$scratch"
failed=0
fail() { echo "FAIL: $*"; failed=1; }
resource() { # INSTALLER NAME: the bytes of that resource
  python3 -c 'import sys; sys.path.insert(0, sys.argv[1]); import pe_resource
sys.stdout.buffer.write(pe_resource.read_rcdata(sys.argv[2], sys.argv[3]) or b"")' "$bench" "$@"
}
mkdir -p in/empty in/ro 'in/ünï/日本' outside
cp "$bin/payload_probe.exe" in/Install.exe
python3 -c 'import random, sys; sys.stdout.buffer.write(random.Random(7).randbytes(2500000))' \
  >in/big.bin && seq 400000 >>in/big.bin
printf 1 >'in/x😀' && printf 2 >'in/xｆ' && printf 3 >'in/ünï/日本/é.txt' && printf 4 >in/ro/file
chmod 0444 in/ro/file && chmod 0555 in/ro && ln -s Install.exe in/alias.exe && ln -s ünï in/linked
tar -czf given.tar.gz -C in Install.exe big.bin
# A tar of exactly one 1 MiB block: its header, the file, the two end blocks.
mkdir mib && cp in/Install.exe mib/ && truncate -s $(((1 << 20) - 1536)) mib/Install.exe
printf '<orvikpkgOnlineInstall schemaVersion="26.5"><downloadItem uri="https://x.invalid/s.xml"/><progressTitle value="T"/></orvikpkgOnlineInstall>' >online.xml
# name | template | arguments
while IFS='|' read -r name template arguments; do
  for threads in 1 3; do
    "$tool" --template "$bin/$template" --output "$PWD/$name$threads.exe" $arguments \
      --threads $threads >/dev/null || fail "$name: exit $? with $threads threads"
  done
  cmp -s "${name}1.exe" "${name}3.exe" || fail "$name: --threads 1 and 3 differ"
  if [ -n "$wine" ]; then
    "$wine" "$bin/orvikpkg-pack.exe" --template "$bin/$template" --output "$PWD/${name}w.exe" \
      $arguments --threads 2 >/dev/null 2>&1 || fail "$name: the Windows tool failed"
    [ "$(sha256sum <"${name}w.exe")" = "$(sha256sum <"${name}1.exe")" ] ||
      fail "$name: the Windows tool wrote other bytes"
  fi
done <<TABLE
folder|preinstall.exe|--payload-dir $PWD/in
given|payload_probe.exe|--payload $PWD/given.tar.gz --online-install $PWD/online.xml
mib|payload_probe.exe|--payload-dir $PWD/mib
TABLE
resource folder1.exe ORVIKPKG_PAYLOAD >payload.tar.gz
for installer in folder1.exe mib1.exe; do  # one gzip member to its last byte, its trailer whole
  resource $installer ORVIKPKG_PAYLOAD | python3 -c 'import sys, zlib; d = zlib.decompressobj(31)
d.decompress(sys.stdin.buffer.read()); sys.exit(not d.eof or bool(d.unused_data))' ||
    fail "$installer: the payload is not one whole gzip member"
done
mkdir out && tar -xzf payload.tar.gz -C out && diff -r in out || fail "the folder came out otherwise"
[ "$(tar -tvzf payload.tar.gz | cut -c1-10 | sort -u | tr '\n' ' ')" = "-rw-r--r-- drwxr-xr-x " ] ||
  fail "modes are not 0644 and 0755"
cmp -s <(resource given1.exe ORVIKPKG_PAYLOAD) given.tar.gz || fail "the archive is not embedded as it is"
cmp -s <(resource given1.exe ORVIKPKG_ONLINE_INSTALL) online.xml || fail "the description is not embedded"
# A template whose resources are followed by a section that is not discardable.
python3 -c 'import sys; d = bytearray(open(sys.argv[1], "rb").read()); d[d.find(b".rsrc\0") + 79] &= ~2
open(sys.argv[2], "wb").write(d)' "$bin/payload_probe.exe" fixed.exe
# setup in the payload folder | template | arguments | exit code | a piece of the output | "both":
# given WINE_RUN, the Windows tool too (its paths in its own form: the piece up to its first ":")
while IFS='|' read -r setup template arguments code piece both; do
  rm -rf p o.exe* && mkdir p && cp in/Install.exe p/ && (cd p && eval "$setup")
  tools=("$tool") && [ -z "$wine" ] || [ -z "$both" ] || tools+=("$wine $bin/orvikpkg-pack.exe")
  for run in "${tools[@]}"; do
    output=$($run --template "$template" --output "$PWD/o.exe" $arguments 2>&1) && got=0 || got=$?
    [ "$run" = "$tool" ] || piece=${piece%%:*}
    [ "$got" = "$code" ] && [[ "$output" == *"$piece"* ]] || fail "$run $setup $arguments: exit $got: $output"
    [ "$code" = 0 ] || [ -z "$(ls -d o.exe* 2>/dev/null)" ] || fail "$setup: left $(ls -d o.exe*)"
  done
done <<TABLE
ln -s ../outside secret|$bin/preinstall.exe|--payload-dir p|1|secret: a link to $PWD/outside, outside|both
ln -s ../outside secret|$bin/preinstall.exe|--payload-dir p --force|0|warning: secret: a link to $PWD/outside|both
mkdir sub && ln -s .. sub/up|$bin/preinstall.exe|--payload-dir p --force|1|sub/up: a link to $PWD/p, a folder that holds the link|both
touch $'b\xff'|$bin/preinstall.exe|--payload-dir p|1|b\xFF: a name that is not valid UTF-8
touch 'a\b'|$bin/preinstall.exe|--payload-dir p|1|a\b: a name with a backslash, which Windows
mkfifo fifo|$bin/preinstall.exe|--payload-dir p --force|1|fifo: neither a file nor a folder
:|$PWD/fixed.exe|--payload-dir p|1|can still pack it through the system's resource update functions
:|$bin/preinstall.exe|--payload-dir p|0|wrote $PWD/o.exe
TABLE
exit $failed
