# A private Wine session under build/: its own prefix, its own X server where no display is set. Sourced, never
# run. start_session arranges that everything it starts ends with the script, however the script ends.

wine=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver64
session_dir=${TAVIX_SESSION_DIR:-$root/build/wine}
export WINEPREFIX=$session_dir/prefix WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree=;mshtml='
prefix_version=4  # raised with every change of what prepare_prefix does, so that older prefixes are made anew
x_server_pid= guard_pid= child_pid=

# Wine's background processes inherit standard output; a file keeps a reader of our own output from waiting for them.
quiet_wine() {
    timeout --foreground 120 "$wine" "$@" </dev/null >>"$session_dir/session.log" 2>&1
}

start_display() {
    if [ -n "${DISPLAY:-}" ] && [ "${TAVIX_OWN_DISPLAY:-1}" = 0 ]; then return; fi
    exec {display_pipe}<> <(:)
    setpriv --pdeathsig TERM Xvfb -displayfd "$display_pipe" -screen 0 1280x1024x24 -nolisten tcp \
        >"$session_dir/xvfb.log" 2>&1 &
    x_server_pid=$!
    local number
    read -r -t 30 -u "$display_pipe" number || die "the X server did not start; see $session_dir/xvfb.log"
    exec {display_pipe}>&-
    export DISPLAY=:$number
}

# Crashes end a process at once instead of opening a dialog. Wine looks for Chinese characters in SimSun and knows no font
# for emoji (characters of the script 0), so both are pointed to fonts that exist. PDF files open in a stand-in for their
# reader. On our own display, which has no window manager, the virtual desktop gives windows captions and spares the two
# seconds that each closing takes.
write_prefix_settings() {
    cat >"$session_dir/settings.reg" <<'REG'
REGEDIT4

[HKEY_CURRENT_USER\Software\Wine\WineDbg]
"ShowCrashDialog"=dword:00000000

[HKEY_CURRENT_USER\Software\Wine\Fonts\Replacements]
"SimSun"="WenQuanYi Micro Hei"

[HKEY_CURRENT_USER\Software\Wine\Uniscribe\Fallback]
"0"="Symbola"

[HKEY_LOCAL_MACHINE\Software\Classes\.pdf]
@="TavixSimReader"

[HKEY_LOCAL_MACHINE\Software\Classes\TavixSimReader\shell\open\command]
@="\"C:\\windows\\system32\\pdf_reader.exe\" \"%1\""
REG
    if [ -n "$x_server_pid" ]; then
        cat >>"$session_dir/settings.reg" <<'REG'

[HKEY_CURRENT_USER\Software\Wine\Explorer]
"Desktop"="Default"

[HKEY_CURRENT_USER\Software\Wine\Explorer\Desktops]
"Default"="1280x1024"
REG
    fi
    quiet_wine regedit /S "$session_dir/settings.reg"
}

# Debian's build of Wine does not look where Debian's fonts-wine puts Tahoma and Marlett; without them dialogs are
# larger than designed and arrow glyphs show as digits. The other two are those of write_prefix_settings.
install_fonts() {
    local fonts=/usr/share/fonts/truetype
    cp /usr/share/wine/fonts/*.ttf $fonts/wqy/wqy-microhei.ttc $fonts/ancient-scripts/Symbola_hint.ttf \
        "$WINEPREFIX/drive_c/windows/Fonts/"
}

prepare_prefix() {
    if [ "$(cat "$session_dir/prefix-ready" 2>/dev/null)" = "$prefix_version" ]; then return; fi
    say "preparing a private Wine prefix"
    rm -rf "$WINEPREFIX"
    quiet_wine wineboot -i || die "the Wine prefix could not be made; see $session_dir/session.log"
    write_prefix_settings || die "the Wine prefix could not be set up; see $session_dir/session.log"
    install_fonts || die "the fonts could not be copied; scripts/setup installs their packages"
    "$wineserver" -w
    echo "$prefix_version" >"$session_dir/prefix-ready"
}

# Runs one command of the session to its end, so that a signal to the script is heeded at once and the command does
# not outlive the script. The session's lock stays with the script.
run_child() {
    setpriv --pdeathsig TERM "$@" {session_lock}>&- &
    child_pid=$!
    local result=0
    wait "$child_pid" || result=$?
    child_pid=
    return $result
}

# The Wine server and all that it runs end with the script even when the script is killed outright.
start_guard() {
    setpriv --pdeathsig TERM bash -c '
        trap "\"$0\" -k; exit" TERM
        setpriv --pdeathsig KILL sleep infinity &
        wait' "$wineserver" {session_lock}>&- </dev/null >/dev/null 2>&1 &
    guard_pid=$!
    disown "$guard_pid"
}

# The viewer stands where the system looks for the launcher of device properties, the reader for that of PDF files.
install_stand_ins() {
    local file
    for file in viewer/device_viewer.exe viewer/devmgr.dll reader/pdf_reader.exe; do
        if [ -e "$build/sim/$file" ]; then
            cp -u "$build/sim/$file" "$WINEPREFIX/drive_c/windows/system32/"
        fi
    done
}

# The first windows of a session come out incomplete in pictures; these are nobody's.
warm_up_display() {
    quiet_wine "$build/sim/viewer/device_viewer.exe" --tree-screenshot "Z:$session_dir/warm-up.png" || true
}

end_session() {
    if [ -n "$child_pid" ]; then kill "$child_pid" 2>/dev/null || true; fi
    child_pid=
    "$wineserver" -k 2>/dev/null || true
    if [ -n "$guard_pid" ]; then kill -KILL "$guard_pid" 2>/dev/null || true; fi
    guard_pid=
    if [ -n "$x_server_pid" ]; then kill "$x_server_pid" 2>/dev/null || true; fi
    x_server_pid=
}

# One warm session: a program then starts in 20 ms instead of 2.5 s, and a loaded driver stays loaded.
start_session() {
    mkdir -p "$session_dir"
    exec {session_lock}>"$session_dir/lock"
    flock -n "$session_lock" || die "another run is using $session_dir; wait for it to end"
    trap end_session EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    start_display
    "$wineserver" -k 2>/dev/null || true
    start_guard
    prepare_prefix
    install_stand_ins
    # The making of the prefix is never traced, the session itself may be; its traces are in session.log.
    if [ -n "${TAVIX_SESSION_TRACE:-}" ]; then export WINEDEBUG=$TAVIX_SESSION_TRACE; fi
    # The server must not hold our lock or our output.
    "$wineserver" -p {session_lock}>&- >>"$session_dir/session.log" 2>&1
    quiet_wine cmd /c exit || die "the Wine session did not start; see $session_dir/session.log"
}
