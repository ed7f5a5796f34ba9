#!/usr/bin/env bash
# A packed installer signed with a throwaway code-signing certificate verifies, with a valid PE
# checksum, and still runs its payload under Wine.
# Usage: signing_test.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
scratch=$(mkdir -p "$build/test-scratch" && mktemp -d "$build/test-scratch/signing-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
fail() { echo "FAIL: $1"; cat record.txt 2>/dev/null || true; exit 1; }
openssl req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out cert.pem -days 2 \
  -subj "/CN=Orvik Throwaway Test Signing" -addext "extendedKeyUsage=codeSigning" \
  -addext "keyUsage=digitalSignature" 2>/dev/null
mkdir payload && cp "$build/bin/child_recorder.exe" payload/Install.exe
# Packed from a signed template: no signature is left that would not match (PackToolTest checks
# the same of a signed template's both writing paths, and the checksum against Windows' own).
osslsigncode sign -certs cert.pem -key key.pem -n "Orvik test template" -h sha256 \
  -in "$build/bin/preinstall.exe" -out template.exe >/dev/null
"$build/wine-run" "$build/bin/orvikpkg-pack.exe" --template template.exe \
  --output unsigned.exe --payload-dir payload | tr -d '\r'
! osslsigncode verify -CAfile cert.pem -in unsigned.exe >/dev/null 2>&1 ||
  fail "the unsigned installer verifies"
osslsigncode sign -certs cert.pem -key key.pem -n "Orvik test installer" -h sha256 \
  -in unsigned.exe -out signed.exe >/dev/null
osslsigncode verify -CAfile cert.pem -in signed.exe >verify.txt 2>&1 || true
grep -q "Signature verification: ok" verify.txt && ! grep -q "invalid PE checksum" verify.txt ||
  fail "the signed installer does not verify: $(cat verify.txt)"
# The carried Install.exe records its start and exits with 7, which cmd prints.
export ORVIK_RECORD_FILE="Z:${scratch//\//\\}\\record.txt"
printf 7 >record.txt.codes
code=$("$build/wine-run" cmd /c "signed.exe --passive & echo %ERRORLEVEL%" | tr -d '\r' |
  tail -n 1) || true
[ "$code" = "7" ] || fail "the signed installer exited with $code"
grep -q "^Install.exe|" record.txt || fail "the carried Install.exe did not run"
echo "signed, verified and run: exit code $code"
