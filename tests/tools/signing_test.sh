#!/usr/bin/env bash
# Release engineers sign the packed installer. This makes a throwaway
# code-signing certificate, packs an installer, signs it with osslsigncode,
# verifies the signature (and that the unsigned one has none), and runs the
# signed installer under Wine to its end.
# Usage: signing_test.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
mkdir -p "$build/test-scratch"
scratch=$(mktemp -d "$build/test-scratch/signing-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

openssl req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out cert.pem -days 2 \
  -subj "/CN=Orvik Throwaway Test Signing" -addext "extendedKeyUsage=codeSigning" \
  -addext "keyUsage=digitalSignature" 2>/dev/null

mkdir payload
cp "$build/bin/child_recorder.exe" payload/Install.exe
"$build/wine-run" "$build/bin/orvikpkg-pack.exe" --template "$build/bin/preinstall.exe" \
  --output unsigned.exe --payload-dir payload | tr -d '\r'

if osslsigncode verify -CAfile cert.pem -in unsigned.exe >/dev/null 2>&1; then
  echo "FAIL: the unsigned installer verifies"
  exit 1
fi
osslsigncode sign -certs cert.pem -key key.pem -n "Orvik test installer" -h sha256 \
  -in unsigned.exe -out signed.exe >/dev/null
osslsigncode verify -CAfile cert.pem -in signed.exe | grep -q "Signature verification: ok" || {
  echo "FAIL: the signed installer does not verify"
  osslsigncode verify -CAfile cert.pem -in signed.exe || true
  exit 1
}

# The signed installer still finds its payload and runs the carried
# Install.exe, which records its command line and exits with 0.
export ORVIK_RECORD_FILE="Z:${scratch//\//\\}\\record.txt"
code=$("$build/wine-run" cmd /c "signed.exe --passive & echo %ERRORLEVEL%" | tr -d '\r' | tail -n 1)
if [ "$code" != "0" ]; then
  echo "FAIL: the signed installer exited with $code"
  exit 1
fi
grep -q "Install.exe" record.txt || {
  echo "FAIL: the carried Install.exe did not run"
  cat record.txt 2>/dev/null || true
  exit 1
}
echo "signed, verified and run: exit code $code"
