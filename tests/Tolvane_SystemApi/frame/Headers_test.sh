#!/bin/sh
# SPDX-License-Identifier: MIT
# Each public header, alone, under both compilers and the standards that it promises.
# usage: Headers_test.sh SOURCE_FOLDER
base=$1/Tolvane_BaseLib/include
system=$1/Tolvane_SystemApi
failed=0 compiled=0

check() { # LANGUAGE COMPILER STANDARD HEADER
    if echo "#include <$4>" | "$2" -x "$1" -std="$3" -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow \
        -Wundef -Werror -I"$base" -I"$system/include" -I"$system" -; then
        compiled=$((compiled + 1))
    else
        echo "failed: $2 -std=$3 $4"
        failed=1
    fi
}

for compilers in "gcc g++" "clang clang++"; do
    # shellcheck disable=SC2086 # words
    set -- $compilers
    if ! command -v "$1" >/dev/null; then
        echo "skipped: no $1"
        [ -z "${SYSTEMAPI_TESTS_FORBID_SKIP-}" ] || failed=1
        continue
    fi
    for header in Tolvane_BaseLib.h Tolvane_SystemApi.h; do
        for standard in c99 c11 c17; do
            check c "$1" $standard $header
        done
    done
    for header in Tolvane_BaseLib.h Tolvane_SystemApi.h SystemApi_File/SystemApi_File.h \
        SystemApi_HardWare/SystemApi_HardWare.h SystemApi_Process/SystemApi_Process.h SystemApi_System/SystemApi_System.h; do
        for standard in c++11 c++17 c++20; do
            check c++ "$2" $standard $header
        done
    done
done
echo "$compiled compilations"
[ $failed -eq 0 ] && [ $compiled -gt 0 ]
