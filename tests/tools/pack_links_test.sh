#!/usr/bin/env bash
# Links in a payload folder, made on the host because a Windows program under Wine cannot make
# them: one row per line of the table below, each packed with the real packing tool. A link that
# leads out of the folder is refused (stored only with --force, named either way), a link inside
# is stored as what it leads to, and a link to a folder holding it is refused even with --force.
# A refused run leaves no installer. Usage: pack_links_test.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
scratch=$(mkdir -p "$build/test-scratch" && mktemp -d "$build/test-scratch/links-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
mkdir outside
printf 'secret' >outside/secret.txt
winpath() { echo "Z:${1//\//\\}"; }
failed=0
# link name | its target | --force? | expected exit | a piece of the output
while IFS='|' read -r name target force code piece; do
  rm -rf payload out.exe && mkdir -p payload/sub
  cp "$build/bin/payload_probe.exe" payload/Install.exe
  ln -s "$target" "payload/$name"
  out=$("$build/wine-run" "$build/bin/orvikpkg-pack.exe" --template "$build/bin/payload_probe.exe" \
    --output "$(winpath "$scratch/out.exe")" --payload-dir "$(winpath "$scratch/payload")" \
    $force 2>&1 | tr -d '\r') && got=0 || got=$?
  written=$([ -e out.exe ] && echo 0 || echo 1)
  if [ "$got" != "$code" ] || [ "$written" != "$code" ] || [[ "$out" != *"$piece"* ]] ||
    [ -n "$(ls | grep -v -x -e outside -e payload -e out.exe -e run)" ]; then
    echo "FAIL: $name -> $target $force: exit $got, expected $code with \"$piece\":"
    echo "$out"
    failed=1
  elif [ "$got" = 0 ]; then  # what the link leads to comes out under its name
    rm -rf run && mkdir run
    "$build/wine-run" "$build/bin/payload_probe64.exe" "$(winpath "$scratch/run")" \
      "$(winpath "$scratch/out.exe")" >/dev/null 2>&1 &&
      cmp -s "payload/$name" "run/payload/$name" || { echo "FAIL: $name is not stored"; failed=1; }
  fi
done <<TABLE
secret.txt|$scratch/outside/secret.txt||1|error: secret.txt: a link to
secret.txt|$scratch/outside/secret.txt|--force|0|warning: secret.txt: a link to
folder|$scratch/outside||1|, outside the folder
alias.exe|Install.exe||0|wrote
sub/up|..||1|a folder that holds the link
sub/up|..|--force|1|a folder that holds the link
TABLE
exit $failed
