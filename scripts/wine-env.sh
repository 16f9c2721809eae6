# shellcheck shell=sh
# The environment of Windows programs under wine; sourced by programs that set `root` to the top of the tree.
# WINEPREFIX may name a folder of your own; all builds share one, since a prefix takes 700 MB.

ZVCLR_WINE=${ZVCLR_WINE:-/usr/lib/wine/wine64}
ZVCLR_WINESERVER=${ZVCLR_WINESERVER:-/usr/lib/wine/wineserver64}
WINEPREFIX=${WINEPREFIX:-${root:?}/build/wine}
# The C locale would break file names beyond ASCII.
LC_ALL=C.UTF-8
WINEDEBUG=-all
# Without the debugger a crash ends with a code of its own; with it, it may end with 0.
WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d'
export WINEPREFIX LC_ALL WINEDEBUG WINEDLLOVERRIDES
unset DISPLAY

# Idle for three seconds, the server ends its helpers, and a program that starts in that moment is lost with them.
zvclr_wine_keep_server() { "$ZVCLR_WINESERVER" -p300 </dev/null >/dev/null 2>&1 || true; }

# A prefix needs some twenty starts of programs, any of which wine may lose, and a server that outlived an earlier
# prefix in this place would answer for the new one: so it starts with no server, and from nothing after a failure.
# A folder that somebody else made is never removed.
zvclr_wine_make_prefix() {
    zvclr_wine_log=$WINEPREFIX.log
    zvclr_wine_ours=1
    [ -e "$WINEPREFIX" ] && [ "$WINEPREFIX" != "$root/build/wine" ] && zvclr_wine_ours=
    for zvclr_wine_try in 1 2 3; do
        if [ -n "$zvclr_wine_ours" ]; then
            "$ZVCLR_WINESERVER" -k </dev/null >/dev/null 2>&1 9>&-
            rm -rf "$WINEPREFIX"
        fi
        mkdir -p "$WINEPREFIX" || return 1
        # Dialogs run without any display.
        if "$ZVCLR_WINE" wineboot --init </dev/null >"$zvclr_wine_log" 2>&1 9>&- &&
            "$ZVCLR_WINE" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /t REG_SZ /d null /f \
                </dev/null >>"$zvclr_wine_log" 2>&1 9>&-; then
            "$ZVCLR_WINESERVER" -w 9>&-
            : >"$WINEPREFIX/.zvclr-ready"
            return 0
        fi
        echo "wine did not make its prefix $WINEPREFIX (try $zvclr_wine_try of 3):" >&2
        tr -d '\r' <"$zvclr_wine_log" >&2
    done
    return 1
}

# Makes the prefix once; parallel callers wait for the first.
zvclr_wine_prepare() {
    if [ ! -e "$WINEPREFIX/.zvclr-ready" ]; then
        if [ ! -x "$ZVCLR_WINE" ]; then
            echo "wine64 is missing: install the package wine64" >&2
            return 1
        fi
        mkdir -p "${WINEPREFIX%/*}" || return 1
        (
            flock 9 || exit 1
            [ -e "$WINEPREFIX/.zvclr-ready" ] || zvclr_wine_make_prefix
        ) 9>"$WINEPREFIX.lock" || return 1
    fi
    zvclr_wine_keep_server
}
