# shellcheck shell=bash
# What the scripts of this folder share; sourced. Callers set -euo pipefail and stand in the root of the tree.

say() { printf '%s\n' "$*"; }

complain() { printf '%s\n' "$*" >&2; }

# Runs a command as root: directly, or by sudo for other users.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        complain "'$*' needs root: run this as root, or install sudo."
        return 1
    fi
}

# Shows that a long command is alive: its latest line on a terminal, now and then a line elsewhere.
progress_of() {
    local line width shown=$SECONDS
    if [ -t 1 ]; then
        width=$(tput cols 2>/dev/null || echo 80)
        while IFS= read -r line; do
            printf '\r\033[K  %s' "${line:0:width-3}"
        done
        printf '\r\033[K'
    else
        while IFS= read -r line; do
            if [ $((SECONDS - shown)) -ge 10 ]; then
                printf '  %s\n' "$line"
                shown=$SECONDS
            fi
        done
    fi
}

# run_logged LOG COMMAND...: runs a command with progress; when it fails, shows the end of what it wrote.
run_logged() {
    local log=$1 what
    shift
    what=$*
    if ! "$@" 2>&1 </dev/null | tee "$log" | progress_of; then
        tail -n 40 "$log" >&2
        complain "'${what#as_root }' failed; all that it wrote is in $log."
        return 1
    fi
}

missing_packages() {
    local package
    for package in "$@"; do
        if ! dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed; then
            say "$package"
        fi
    done
}

# install_packages NAME...: installs those Debian packages that are missing.
install_packages() {
    local missing log
    if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
        complain "There is no apt-get here. These Debian packages, or what stands for them, are needed: $*"
        return 1
    fi
    mapfile -t missing < <(missing_packages "$@")
    if [ "${#missing[@]}" -eq 0 ]; then
        return 0
    fi
    say "Installing ${missing[*]} ..."
    mkdir -p build
    log=build/packages.log
    run_logged "$log" as_root apt-get update -q || return 1
    run_logged "$log" as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}"
}
