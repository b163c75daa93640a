# SPDX-License-Identifier: MIT
# What ./run, ./check and .ci/run share. The caller sets ROOT, the top of the tree.

# Everything that building, running and testing needs; .ci/run adds its own.
# shellcheck disable=SC2034
PACKAGES="build-essential cmake libcli11-dev libgtest-dev libgmock-dev libncurses-dev
          nlohmann-json3-dev pkg-config procps"

JOBS=$(nproc)
TESTS=$((2 * JOBS)) # at a time, as many of them wait
LOG=$(mktemp)
trap 'rm -f "$LOG"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

say() { # to standard error: standard output is the tool's
    echo "$*" >&2
}

fail() {
    say "$*"
    exit 1
}

# quietly COMMAND...: its output is shown only when it fails.
quietly() {
    "$@" >"$LOG" 2>&1 && return
    cat "$LOG" >&2
    fail "failed: $*"
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        command -v sudo >/dev/null && sudo "$@"
    fi
}

# need PACKAGE...: installs those that are missing, or names them and stops.
need() {
    command -v dpkg-query >/dev/null || return 0 # no Debian: the configuration tells what is missing
    missing=
    for package in "$@"; do
        case $(dpkg-query -W -f='${Status}' "$package" 2>/dev/null) in
        "install ok installed") ;;
        *) missing="$missing $package" ;;
        esac
    done
    [ -n "$missing" ] || return 0

    say "Installing:$missing"
    # An update that fails in part may have brought what is needed. One call, so that sudo asks once.
    # shellcheck disable=SC2016,SC2086 # the inner shell expands; a list of words
    if ! as_root sh -c 'apt-get update
        DEBIAN_FRONTEND=noninteractive exec apt-get install -y --no-install-recommends "$@"' sh $missing \
        >"$LOG" 2>&1 </dev/null; then
        cat "$LOG" >&2
        fail "Packages are missing and could not be installed. As root: apt-get install$missing"
    fi
}

# configure FOLDER [PRESET]: once; later builds notice changes themselves.
configure() {
    if [ -d "$1" ] && [ "$(stat -c %u "$1")" != "$(id -u)" ]; then
        fail "$1 belongs to $(stat -c %U "$1"), and you are $(id -un): remove it, or work as its owner."
    fi
    [ -d "$1" ] || mkdir "$1" 2>/dev/null || fail "$ROOT cannot be written to by $(id -un): clone the tree as this user."
    [ ! -f "$1/Makefile" ] && [ ! -f "$1/build.ninja" ] || return 0
    say "Configuring ..."
    if [ -n "${2-}" ]; then
        (cd "$ROOT" && quietly cmake --preset "$2")
    else
        quietly cmake -S "$ROOT" -B "$1"
    fi
}

# build FOLDER [TARGET]
build() {
    quietly cmake --build "$1" --parallel "$JOBS" --target "${2-all}"
}
