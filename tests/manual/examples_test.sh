#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs each example in a folder of its own: the exit status, and a line that it must print.
# usage: examples_test.sh SOURCE PROGRAMS [LIBRARY_FOR_PYTHON]
set -eu
SOURCE=$1 PROGRAMS=$2 LIBRARY=${3-}
PLACE=$(mktemp -d)
trap 'rm -rf "$PLACE"' EXIT
mkdir "$PLACE/tools" "$PLACE/work"
cd "$PLACE/work"
echo text >note.txt
printf '#!/bin/sh\ncase $* in *uuid) echo 12-34 ;; esac\n' >"$PLACE/tools/sudo" # never the real one, which may ask
chmod +x "$PLACE/tools/sudo"
PATH=$PLACE/tools:$PATH

expect() { # LINE COMMAND...
    line=$1
    shift
    "$@" >"$PLACE/out" 2>"$PLACE/log" </dev/null || { cat "$PLACE/out" "$PLACE/log"; echo "failed: $*"; exit 1; }
    grep -q -x -e "$line" "$PLACE/out" || { cat "$PLACE/out" "$PLACE/log"; echo "failed: $* without \"$line\""; exit 1; }
}

refuses() { # LINE COMMAND...
    line=$1
    shift
    if "$@" 2>"$PLACE/log"; then echo "failed: no refusal of $*"; exit 1; fi
    grep -q -x -e "$line" "$PLACE/log" || { cat "$PLACE/log"; echo "failed: $* without \"$line\""; exit 1; }
}

expect '[0-9]* of [0-9]* MiB are available: [0-9]* % are in use' "$PROGRAMS/memory"
expect 'example/in/copy.txt' "$PROGRAMS/file"
[ ! -e example ] || { echo "failed: file leaves its folder behind"; exit 1; }
expect 'board "", system "12-34"' "$PROGRAMS/hardware"
expect 'hello from a child' "$PROGRAMS/process"
grep -q -x '7 bytes: second' "$PLACE/out"
expect 'in time' "$PROGRAMS/system"
expect './note.txt' "$PROGRAMS/first"

"$PROGRAMS/guarded" note.txt new/copy.txt
cmp note.txt new/copy.txt
refuses 'File exists' "$PROGRAMS/guarded" note.txt new/copy.txt
refuses 'No such file or directory' "$PROGRAMS/guarded" missing new/other.txt # what was an exception
refuses '0x40a0022' "$PROGRAMS/first" missing

[ -n "$LIBRARY" ] && command -v python3 >/dev/null || exit 0
expect 'note.txt: 5 bytes' python3 "$SOURCE/examples/first.py" note.txt . "$LIBRARY"
grep -q -x './note.txt' "$PLACE/out"
# errno reaches Python.
refuses 'missing: 0x040A0002: No such file or directory' python3 "$SOURCE/examples/first.py" missing . "$LIBRARY"
