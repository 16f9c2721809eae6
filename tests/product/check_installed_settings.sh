#!/usr/bin/env bash
# Usage: check_installed_settings.sh PREFIX LIBDIR VERSION OPEN_DIALOG
# The library of the moved package shows its dialogs by the program that lies in the same package, and takes that
# program's death for Cancel. No other part of the package asks for the toolkit of that program.
set -euo pipefail
# shellcheck source=scripts/display.sh
. "$(dirname "$0")/../../scripts/display.sh"
export LC_ALL=C
prefix=$(realpath "$1") library=$(realpath "$1/$2/libzvclr.so.1") version=$3 open_dialog=$4
settings=$prefix/bin/zvclr-settings
unset LD_LIBRARY_PATH DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM

caller=
folder=$(mktemp -d)
clean_up() {
    [ -z "$caller" ] || kill -KILL "$caller" 2>/dev/null || true
    stop_display
    rm -rf "$folder"
}
trap clean_up EXIT
fail() {
    echo "$*"
    exit 1
}

said=$("$settings" --version)
grep -qwF "$version" <<<"$said" || fail "--version says: $said"
readelf --dynamic --wide "$settings" | grep -q 'NEEDED.*Qt' || fail 'the look for the toolkit finds nothing'
for file in "$library" "$prefix/bin/zvclr"; do
    [ -e "$file" ] || continue
    if readelf --dynamic --wide "$file" | grep 'NEEDED.*Qt'; then fail "$file needs it"; fi
done

# Nobody to see the dialog: the answer comes at once.
[ "$(timeout 30 "$open_dialog" "$library" 1 2>"$folder/messages")" = 0 ] || fail 'without a display'

start_display "$folder"

# ask TYPE TITLE: sets `caller`, and `shown`, the installed program that it has started.
ask() {
    "$open_dialog" "$library" "$1" >"$folder/result" &
    caller=$!
    await_window "$2" || fail "no window \"$2\" is shown; the result is $(cat "$folder/result")"
    shown=$(cat "/proc/$caller/task/$caller/children")
    shown=${shown% }
    [ "$(readlink "/proc/$shown/exe")" = "$settings" ] || fail "process $shown is not $settings"
}

is_gone() { [ "$(readlink "/proc/$1/exe")" != "$settings" ]; }

type=1
for title in 'CMYK color settings' 'CIELab color settings'; do
    ask "$type" "$title"
    kill -KILL "$shown"
    wait "$caller" || fail "the caller of dialog $type failed"
    caller=
    [ "$(cat "$folder/result")" = 0 ] || fail "a killed dialog $type gave $(cat "$folder/result")"
    type=$((type + 1))
done

# With its caller, the program ends too.
ask 1 'CMYK color settings'
kill -KILL "$caller"
wait "$caller" 2>/dev/null || true
caller=
wait_for is_gone "$shown" || fail 'the dialog outlives its caller'
