#!/usr/bin/env bash
# Builds a sample product installer with the packing tool built for Linux (and
# shows that the Windows tool packs the same bytes) and runs it twice
# under Wine in a fresh prefix: the first run finds no package manager and
# installs it together with the product; the second finds it current,
# updates it and then launches it for the suite.
# Usage: run-demo.sh BUILD_DIR
set -euo pipefail
build=$(cd "${1:?usage: run-demo.sh BUILD_DIR}" && pwd)
root=$(cd "$(dirname "$0")/../.." && pwd)

if [ -z "${DISPLAY:-}" ] && [ -z "${ORVIK_IN_XVFB:-}" ]; then
  export ORVIK_IN_XVFB=1
  exec xvfb-run -a -s "-screen 0 1024x768x24 -nolisten tcp" "$0" "$build"
fi

demo=$build/demo
rm -rf "$demo"
mkdir -p "$demo/payload" "$demo/installer/bin"
export WINEPREFIX=$demo/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
unset WINEARCH
echo "== Preparing a fresh Wine prefix (Windows 10) in $WINEPREFIX"
wineboot --init >/dev/null 2>&1
wine winecfg -v win10 >/dev/null 2>&1
wineserver -w

cp "$build/bin/sample-Install.exe" "$demo/payload/Install.exe"
cp "$build/bin/sample-orvikpkg.exe" "$demo/payload/orvikpkg.exe"
cp "$root/samples/suite.dat" "$demo/payload/suite.dat"
# The install mode is chosen from the "bin" folder beside the installer.
cp "$root/samples/suite.dat" "$demo/installer/bin/suite.dat"
installer=$demo/installer/OrvikSuiteSetup.exe
echo "== Packing $installer with the Linux tool"
"$build/bin/orvikpkg-pack" --template "$build/bin/preinstall.exe" \
  --output "$installer" --payload-dir "$demo/payload"
# The Windows tool, under Wine, packs the same bytes.
windows=$demo/installer/windows-tool.exe
wine "$build/bin/orvikpkg-pack.exe" --template "$build/bin/preinstall.exe" \
  --output "$windows" --payload-dir "$demo/payload" >/dev/null
echo "SHA-256, Linux tool:   $(sha256sum <"$installer" | cut -c1-64)"
echo "SHA-256, Windows tool: $(sha256sum <"$windows" | cut -c1-64)"
rm "$windows"

export ORVIK_DEMO_REPORT=$demo/report.txt
logs="$WINEPREFIX/drive_c/users/${USER:-$(id -un)}/AppData/Local/Calvenna/Orvik Package Manager/Logs"

run() { # TITLE
  echo
  echo "== $1"
  : >"$ORVIK_DEMO_REPORT"
  local code
  code=$(cd "$demo/installer" &&
    wine cmd /c "OrvikSuiteSetup.exe --passive --accept-eulas & echo %ERRORLEVEL%" | tr -d '\r' | tail -n 1)
  wineserver -w
  echo "What the children were asked to do:"
  cat "$ORVIK_DEMO_REPORT"
  echo "Exit code: $code"
  local log
  log=$(ls -t "$logs/OrvikPkgLogs"/OrvikPkgLog_*.txt | head -n 1)
  echo "Log: $log"
  sed 's/^/  | /' "$log"
}

run "First run: no package manager yet, so the carried installer installs it with the product"
run "Second run: the package manager is current, so it is updated and then launched for the suite"
