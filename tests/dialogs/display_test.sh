#!/usr/bin/env bash
# display_test.sh SHOW-DIALOG: works with the real windows of the settings dialogs, by keyboard and mouse.
set -euo pipefail
show_dialog=$1
# shellcheck source=scripts/display.sh
. "$(dirname "$0")/../../scripts/display.sh"

cmyk='CMYK color settings'
lab='CIELab color settings'
folder=$(mktemp -d)
dialogs=()
display_server=
clean_up() {
    local dialog
    for dialog in "${dialogs[@]}"; do
        kill -KILL "$dialog" 2>/dev/null || true
    done
    stop_display
    rm -rf "$folder"
}
trap clean_up EXIT

fail() {
    printf 'FAILED (lines %s): %s\n' "${BASH_LINENO[*]}" "$*" >&2
    [ -z "${answer:-}" ] || sed 's/^/    /' "$answer" >&2
    exit 1
}

# open_dialog ARGUMENT...: sets `dialog`, the process that asks for it, and `answer`, the file of what it gets.
open_dialog() {
    answer=$(mktemp "$folder/answer.XXXXXX")
    "$show_dialog" "$@" >"$answer" 2>"$answer.errors" </dev/null &
    dialog=$!
    dialogs+=("$dialog")
}

ended() { ! kill -0 "$1" 2>/dev/null; }
stopped() { ended "$1" || [ "$(sed 's/.*) //; s/ .*//' "/proc/$1/stat" 2>/dev/null)" = Z ]; }

# close_dialog LINE...: waits for the end of the process, and looks for those lines in its answer.
close_dialog() {
    local line status=0
    wait_for stopped "$dialog" || fail 'the call does not return'
    wait "$dialog" || status=$?
    [ "$status" -eq 0 ] || fail "the program ended with $status: $(cat "$answer.errors")"
    for line in "$@"; do
        grep -qxF "$line" "$answer" || fail "no line \"$line\" in:"
    done
}

press() { xdotool key --clearmodifiers "$@"; }

# click X Y WIDTH HEIGHT: there in the window, which has that width and height, all in the units of its template.
click() {
    local WIDTH HEIGHT
    eval "$(xdotool getwindowgeometry --shell "$window" | grep -E '^(WIDTH|HEIGHT)=[0-9]+$')"
    xdotool mousemove --window "$window" $(($1 * WIDTH / $3)) $(($2 * HEIGHT / $4)) click 1
}

program_of_window() { xprop -id "$1" _NET_WM_PID | sed 's/.*= //'; }

nothing=('result 0' 'converter none' 'size 0' 'activeMethod 0' 'whiteCode 0')

start_display "$folder" || fail 'there is no display'

# The keyboard alone.
open_dialog cmyk
await_window "$cmyk" || fail "no window: $(cat "$answer.errors")"
press alt+m Down alt+w Down Down Return
close_dialog 'result 1' 'converter made' 'size 1648' 'activeMethod 2' 'methods 2' 'whiteCode 65' 'gcrLevel 250'

# The mouse alone: BGR order, which the colours show, and OK.
open_dialog cmyk
await_window "$cmyk" || fail "no window: $(cat "$answer.errors")"
click 152 157 276 206
click 190 192 276 206
close_dialog 'result 1' 'converter made' 'activeMethod 1' 'whiteCode 50' 'pixel 255 127 0 0'
open_dialog cmyk
await_window "$cmyk" || fail "no window: $(cat "$answer.errors")"
press Return
close_dialog 'result 1' 'activeMethod 1' 'pixel 0 127 255 0'

open_dialog lab
await_window "$lab" || fail "no window: $(cat "$answer.errors")"
press alt+m Down Down Down Return
close_dialog 'result 1' 'converter made' 'size 1648' 'activeMethod 8' 'gcrLevel 0'

# A file by its chooser.
: >"$folder/table.TIF"
open_dialog cmyk
await_window "$cmyk" || fail "no window: $(cat "$answer.errors")"
press alt+m Down Down Down Down alt+d Tab space
await_window 'Open destination RGB image' || fail 'no chooser'
xdotool type --clearmodifiers "$folder/table.TIF"
press Return
no_chooser() { ! find_window 'Open destination RGB image'; }
wait_for no_chooser || fail 'the chooser stays'
await_window "$cmyk" || fail 'no window after the chooser'
press alt+m Return
close_dialog 'activeMethod 16' "table \"$folder/table.TIF\""

# Nothing is chosen: Cancel in three ways, and a window that goes with its program.
open_dialog cmyk
await_window "$cmyk" || fail "no window: $(cat "$answer.errors")"
press alt+m Down
click 152 157 276 206
press Escape
close_dialog "${nothing[@]}"
open_dialog lab
await_window "$lab" || fail "no window: $(cat "$answer.errors")"
click 244 246 276 260
close_dialog "${nothing[@]}"
for signal in TERM KILL; do
    open_dialog cmyk
    await_window "$cmyk" || fail "no window: $(cat "$answer.errors")"
    kill -s "$signal" "$(program_of_window "$window")"
    close_dialog "${nothing[@]}"
done

# Who asked for the choices goes away, and the window goes too.
open_dialog lab
await_window "$lab" || fail "no window: $(cat "$answer.errors")"
helper=$(program_of_window "$window")
disown "$dialog"
kill -KILL "$dialog"
wait_for stopped "$helper" || fail 'the window stays when its caller is gone'
answer=

# The same before there is a window.
helper_of() {
    helper=$(cat "/proc/$1/task/$1/children")
    [ -n "$helper" ]
}
open_dialog lab
wait_for helper_of "$dialog" || fail 'the call starts no program'
disown "$dialog"
kill -KILL "$dialog"
wait_for stopped "${helper% }" || fail 'the program stays when its caller is gone'
answer=

# A window that it belongs to, and one that is none or goes away.
open_dialog lab
await_window "$lab" || fail "no window: $(cat "$answer.errors")"
owner=$window
owner_dialog=$dialog
owner_answer=$answer
open_dialog cmyk "$owner"
await_window "$cmyk" || fail "no window: $(cat "$answer.errors")"
said=$(xprop -id "$window" WM_TRANSIENT_FOR)
[ $((${said##*# })) -eq "$owner" ] || fail "the window does not belong to $owner: $said"
window_of_cmyk=$window
await_window "$lab" || fail 'no window to end first'
press Escape
wait_for stopped "$owner_dialog" || fail 'the owner stays'
grep -qx 'result 0' "$owner_answer" || fail 'the owner was not cancelled'
window=$window_of_cmyk
wait_for has_keyboard "$window" || fail 'the window went with its owner'
press Return
close_dialog 'result 1' 'converter made'
for owner in 1 0x7fffffff 0x1fffffffff 0xffffffffffffffff; do
    open_dialog cmyk "$owner"
    await_window "$cmyk" || fail "no window for $owner: $(cat "$answer.errors")"
    press Return
    close_dialog 'result 1' 'converter made'
done

# The display goes away.
open_dialog cmyk
await_window "$cmyk" || fail "no window: $(cat "$answer.errors")"
stop_display
close_dialog "${nothing[@]}"
echo 'The windows did all that keyboard and mouse asked for.'
