# shellcheck shell=bash
# A display without a screen, and windows on it; sourced. Needs the packages xvfb, xdotool and x11-utils.

# wait_for COMMAND...: tries until it works; fails after half a minute.
wait_for() {
    local end=$((SECONDS + 30))
    until "$@"; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.05
    done
}

# start_display FOLDER [SIZE]: a display of its own number, with its files in FOLDER. Sets DISPLAY and display_server.
start_display() {
    : >"$1/display"
    # Without -noreset it would refuse programs for a moment whenever the last one has left it.
    Xvfb -displayfd 7 -noreset -screen 0 "${2:-1024x768}x24" -nolisten tcp \
        7>"$1/display" >"$1/display.log" 2>&1 </dev/null &
    display_server=$!
    # The number comes with a line end, so a part of it is not taken for it.
    if ! wait_for grep -q '^[0-9]*$' "$1/display"; then
        cat "$1/display.log" >&2
        return 1
    fi
    DISPLAY=:$(cat "$1/display")
    export DISPLAY
    # The keyboard's library reads names that do not end, which strict sanitizers refuse.
    export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}strict_string_checks=0
    # What programs would rather use.
    unset WAYLAND_DISPLAY QT_QPA_PLATFORM QT_STYLE_OVERRIDE
}

stop_display() {
    if [ -n "${display_server:-}" ]; then
        kill "$display_server" 2>/dev/null || true
        wait "$display_server" 2>/dev/null || true
        display_server=
    fi
}

find_window() {
    window=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | tail -n 1)
    [ -n "$window" ]
}

has_keyboard() {
    xdotool windowfocus "$1" 2>/dev/null || true
    [ "$(xdotool getwindowfocus 2>/dev/null)" = "$1" ]
}

# await_window TITLE: waits for a window and gives it the keyboard, as nothing else here does. Sets `window`.
await_window() {
    wait_for find_window "$1" && wait_for has_keyboard "$window"
}
