#!/usr/bin/env bash
# Tests the automation server Synthor01.dll under wine, through real clients: registers it,
# runs the VBScript suite (unattended log and wire trace on) and the JScript suite, checks that unregistering leaves no key, then registers it for the
# current user only (wine's class lookup reads only the machine's classes, so that registration
# is checked in the registry). The drop-in simulated driver ftd2xx.dll sits beside the DLL.
# A 32-bit build folder, if given, is checked statically: PE32, system imports only, the entry
# points exported (its 64-bit twin is checked the same way).
# Usage: scripts/test-com.sh BUILD_DIR [BUILD32_DIR]   (Windows cross-build folders)
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:?usage: scripts/test-com.sh BUILD_DIR [BUILD32_DIR]}")
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" WINEPREFIX="$build/wineprefix"
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
[ -d "$WINEPREFIX/drive_c" ] || "$wine" wineboot -i >/dev/null 2>&1

run() { "$wine" "$@" 2>/dev/null | tr -d '\r'; }
winpath() { run winepath -w "$1"; }
fail() { echo "test-com: $*" >&2; exit 1; }

# A suite passes when its last line says "N passed, 0 failed" (cscript exits 0 even when a
# script dies).
suite() {
    local name=$1 out
    shift
    out=$("$@")
    printf '%s\n' "$out"
    printf '%s\n' "$out" | tail -n 1 | grep -Eq '^[0-9]+ passed, 0 failed$' || fail "$name failed"
}

# static DLL FORMAT: the DLL is FORMAT (PE32 or PE32+), imports only system DLLs and exports
# the server's entry points.
static() {
    local dump name
    dump=$(objdump -p "$1")
    grep -q "^Magic.*($2)\$" <<<"$dump" || fail "$1 is not $2"
    for name in $(sed -n 's/^\s*DLL Name: //p' <<<"$dump" | tr 'A-Z' 'a-z'); do
        case $name in
            advapi32.dll | comctl32.dll | comdlg32.dll | gdi32.dll | gdiplus.dll | kernel32.dll | \
                msvcrt.dll | ole32.dll | oleaut32.dll | user32.dll) ;;
            *) fail "$1 imports $name" ;;
        esac
    done
    for name in DllCanUnloadNow DllGetClassObject DllInstall DllRegisterServer DllUnregisterServer; do
        grep -Eq "^\s+\[ *[0-9]+\] $name\$" <<<"$dump" || fail "$1 does not export $name"
    done
}
static "$build/Synthor01.dll" PE32+
[ -z "${2:-}" ] || static "$(realpath "$2")/Synthor01.dll" PE32

clsid='{DEEFAFEF-06B3-4ECB-A018-861134667E9D}'
keys=("CLSID\\$clsid" "Synthor01.Synthor_01_vexa" "TypeLib\\{88DB05AC-2415-4F28-8E6C-5BA28A38F1C6}"
      "Interface\\{33BD07F9-8077-4A03-B735-A3004826EC24}")
# registered ROOT yes|no: every key is (or no key is) under ROOT\Software\Classes.
registered() {
    local key
    for key in "${keys[@]}"; do
        if "$wine" reg query "$1\\Software\\Classes\\$key" >/dev/null 2>&1; then
            [ "$2" = yes ] || fail "$1\\Software\\Classes\\$key left behind"
        else
            [ "$2" = no ] || fail "$1\\Software\\Classes\\$key missing"
        fi
    done
}

dll=$(winpath "$build/Synthor01.dll")
examples=$(winpath "$PWD/examples")
log="$build/com-unattended.txt"
trace="$build/com-trace.txt"
rm -f "$log" "$trace"

run regsvr32 /s "$dll"
registered HKLM yes
SYNTHOR_UNATTENDED_LOG=$(winpath "$log") SYNTHOR_TRACE=$(winpath "$trace") \
    suite VBScript run cscript //nologo tests/com/suite.vbs "$examples"
diff -u - <(tr -d '\r' < "$log") <<'LOG' || fail "unattended log differs"
msgbox 48 "Signal Gen" "Dwell time must be between 26 and 65500 us."
dialog cancel
LOG
grep -qx 'FT_Write 59 39 = 0' "$trace" || fail "no lock query in the wire trace"
suite JScript run cscript //nologo tests/com/suite.js
run regsvr32 /s /u "$dll"
registered HKLM no

run regsvr32 /s /n /i:user "$dll"
registered HKCU yes
registered HKLM no
run regsvr32 /s /u /n /i:user "$dll"
registered HKCU no
echo "test-com: all suites passed"
