#!/usr/bin/env bash
# The Win32 panel and the GDI+ exporter under wine and Xvfb: a VBScript's ShowUI shows the panel
# of the automation server over the drop-in simulated driver; the window is found by its
# caption, pictured, clicked and closed; pictures saved through cGdiPlus are decoded with
# ImageMagick. Needs the Windows build (build-win).
# Ends with "N passed, M failed"; the exit status is the number of failures.
set -uo pipefail
cd "$(dirname "$0")/.."
build=${BUILD_WIN:-build-win}
out="$build/win32-panel"
mkdir -p "$out" docs
export WINEDEBUG=-all WINEPREFIX="$PWD/$build/wineprefix" WINEDLLOVERRIDES="mscoree,mshtml="
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
caption="KX30-11-02 Signal generator utility"
passed=0 failed=0
check() { # check DESCRIPTION COMMAND...
    local what=$1; shift
    if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: $what"; fi
}

# Xvfb before the wineserver, so that wine's windows get a display driver.
display=":$((100 + $$ % 400))"
Xvfb "$display" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
export DISPLAY=$display
sleep 1
wineserver -k 2>/dev/null || true
if [ ! -f "$WINEPREFIX/system.reg" ]; then "$wine" wineboot -i >/dev/null 2>&1; fi
# No window manager: wine draws the title bars itself. Its own fonts give every glyph.
"$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1
cp -n /usr/share/wine/fonts/*.ttf "$WINEPREFIX/drive_c/windows/Fonts/" 2>/dev/null || true
finish() { kill "$xvfb" 2>/dev/null; wineserver -k 2>/dev/null; }
trap finish EXIT

# --- cGdiPlus: files in each format, decoded by ImageMagick --------------------------------
rm -rf "$out/gdi" && mkdir -p "$out/gdi"
"$wine" "$build/win32_panel_check.exe" gdiplus "$(winepath -w "$out/gdi")" 2>/dev/null | tr -d '\r' \
    > "$out/gdi.txt"
cat "$out/gdi.txt"
check "the exporter's own checks" grep -q ' passed, 0 failed$' "$out/gdi.txt"
decodes() { # decodes FILE FORMAT: the file is a picture of the screen (1280x1024) in FORMAT
    [ "$(identify -format '%m %wx%h' "$out/gdi/$1" 2>/dev/null)" = "$2 1280x1024" ]
}
for f in "p.bmp BMP3" "p.png PNG" "p.TIFF TIFF" "p.jpe JPEG" "q10.JPEG JPEG"; do
    set -- $f
    check "$1 decodes as $2" decodes "$1" "$2"
done
# wine's JPEG encoder ignores the quality, so sizes prove nothing here (on Windows a lower
# quality gives a smaller file): the quality path only has to save.

# --- The panel: ShowUI shows it, its picture, clicks, Exit and the title-bar close --------
# Where a control's centre is in the window: wine draws the frame with equal side and bottom
# borders around the form's client area.
click() { # click CONTROL
    local cw ch x y w h WIDTH HEIGHT
    read -r cw ch x y w h < <("$wine" "$build/win32_panel_check.exe" where "$1" | tr -d '\r')
    eval "$(xdotool getwindowgeometry --shell "$window" | grep -E '^(WIDTH|HEIGHT)=')"
    local side=$(((WIDTH - cw) / 2))
    xdotool mousemove --window "$window" $((side + x + w / 2)) \
        $((HEIGHT - side - ch + y + h / 2)) click 1
    sleep 1
}
shown() { # shown CAPTION PICTURE: waits for the window, pictures it into $out and docs/
    window=$(timeout 30 xdotool search --sync --onlyvisible --name "^$1\$" | head -n 1)
    [ -n "$window" ] || return 1
    sleep 1
    import -window "$window" "$out/$2" && cp "$out/$2" "docs/win32-$2"
}
returned() { # returned N: waits up to 10 s for the Nth "ShowUI: OK"
    for _ in $(seq 20); do
        [ "$(tr -d '\r' < "$out/panel-out.txt" | grep -c '^ShowUI: OK$')" -ge "$1" ] && return 0
        sleep 0.5
    done
    return 1
}

trace="$out/panel-trace.txt" snapshot="$out/panel-f12.png"
rm -f "$trace" "$snapshot"
"$wine" regsvr32 /s "$(winepath -w "$build/Synthor01.dll")" 2>/dev/null
SYNTHOR_SNAPSHOT=$(winepath -w "$snapshot") SYNTHOR_TRACE=$(winepath -w "$trace") \
    SYNTHOR_UNATTENDED_LOG=$(winepath -w "$out/panel-prompts.txt") \
    "$wine" cscript //nologo tests/win32/show_panel.vbs >"$out/panel-out.txt" 2>/dev/null &
panel=$!
window=
check "ShowUI shows the panel, found by its caption" shown "$caption" panel.png
if [ -n "$window" ]; then
    eval "$(xdotool getwindowgeometry --shell "$window" | grep -E '^(WIDTH|HEIGHT)=')"
    click Command1   # Set frequency
    click Command11  # start the frequency sweep: its Stop turns bold
    xdotool key F12
    sleep 2
    check "F12 saves the window's picture through cGdiPlus" \
        test "$(identify -format '%m %wx%h' "$snapshot" 2>/dev/null)" = "PNG ${WIDTH}x$HEIGHT"
    cp "$snapshot" docs/win32-panel-sweep.png  # saved by the panel itself
    click Command10  # Exit
    check "Exit makes ShowUI return OK" returned 1
    # The program's second ShowUI shows the panel again; the title-bar close (Alt+F4) hides it.
    window=$(timeout 30 xdotool search --sync --onlyvisible --name "^$caption\$" | head -n 1)
    check "a second ShowUI shows the panel again" test -n "$window"
    xdotool key alt+F4
    check "the title-bar close makes ShowUI return OK" returned 2
fi
timeout 20 tail --pid="$panel" -f /dev/null
"$wine" regsvr32 /s /u "$(winepath -w "$build/Synthor01.dll")" 2>/dev/null

# The window's session must put the same frames on the wire as the same session of Panel.* calls
# through the command-line tool.
printf '%s\n' FND Panel.Load 'Panel.Click Command1' 'Panel.Click Command11' \
    'Panel.Click Command10' Panel.Close |
    "$wine" "$build/synthor.exe" --sim --trace "$(winepath -w "$out/tool-trace.txt")" \
    --script - >/dev/null 2>&1
check "Set frequency sent its frames" grep -q '^FT_Write 57 ' "$out/panel-trace.txt"
check "the window's frames equal the tool's" diff -u <(tr -d '\r' < "$out/tool-trace.txt") \
    <(tr -d '\r' < "$trace")

# --- EEPROMdata, held at 40 % ---------------------------------------------------------------
"$wine" "$build/win32_panel_check.exe" eeprom >/dev/null 2>&1 &
eeprom=$!
check "EEPROMdata shows, found by its caption" shown Initialising eeprom.png
wait "$eeprom"

echo "$passed passed, $failed failed"
exit "$failed"
