#!/bin/sh
# SPDX-License-Identifier: MIT
# What a shared library shows to the dynamic linker, compared with what is due.
# usage: SharedObject_test.sh LIBRARY SONAME RUNPATH SYMBOLS
library=$1 soname=$2 runpath=$3 symbols=$4
LC_ALL=C
export LC_ALL
failed=0

due() { # WHAT DUE FOUND
    if [ "$2" != "$3" ]; then
        echo "$1: due is '$2', found is '$3'"
        failed=1
    fi
}
dynamic() { readelf -d "$library" | sed -n "s/.*($1).*\[\(.*\)\]/\1/p"; }

if ! nm -D --defined-only "$library" | awk "{ print \$NF }" | sort |
    diff -u --label due --label exported "$symbols" -; then
    echo "The exported symbols are not those of $symbols: '-' is missing, '+' is too much."
    failed=1
fi
due "soname" "$soname" "$(dynamic SONAME)"
due "run path" "$runpath" "$(dynamic RUNPATH)$(dynamic RPATH)"
due "libraries beyond the standard ones" "" "$(dynamic NEEDED | grep -v -x -e "libTolvane_BaseLib.so.${soname##*.}" \
    -e 'lib\(stdc++\|gcc_s\|m\|c\|asan\|ubsan\|tsan\)\.so\.[0-9]*' -e 'ld-linux-x86-64\.so\.2')"
case $(dynamic NEEDED) in
*san.so*) ;; # sanitizers do work of their own at load
*) # the compiler's own entry, and that of the four objects
    case $soname in *SystemApi*) bytes=16 ;; *) bytes=8 ;; esac
    due "bytes of the list of work at load" "$bytes" \
        "$(readelf -d "$library" | sed -n 's/.*(INIT_ARRAYSZ) *\([0-9]*\).*/\1/p')"
    ;;
esac
due "undefined symbols" "" "$(ldd -r "$library" 2>&1 | grep 'undefined symbol')"
exit $failed
