#!/bin/sh
# Each public header, alone, under the compilers that are there and the standards that it promises.
# usage: Headers_test.sh SOURCE_FOLDER
base=$1/Tolvane_BaseLib/include
system=$1/Tolvane_SystemApi
failed=0 compiled=0

check() { # COMPILER LANGUAGE STANDARD HEADER
    command -v "$1" >/dev/null || return
    if echo "#include <$4>" | "$1" -x "$2" -std="$3" -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Werror \
        -I"$base" -I"$system/include" -I"$system" -; then
        compiled=$((compiled + 1))
    else
        echo "failed: $1 -std=$3 $4"
        failed=1
    fi
}

for header in Tolvane_BaseLib.h Tolvane_SystemApi.h; do
    for standard in c99 c11 c17; do
        check gcc c $standard $header
        check clang c $standard $header
    done
done
for header in Tolvane_BaseLib.h Tolvane_SystemApi.h SystemApi_File/SystemApi_File.h \
    SystemApi_HardWare/SystemApi_HardWare.h SystemApi_Process/SystemApi_Process.h SystemApi_System/SystemApi_System.h; do
    for standard in c++17 c++20; do
        check g++ c++ $standard $header
        check clang++ c++ $standard $header
    done
done
echo "$compiled compilations"
[ $failed -eq 0 ] && [ $compiled -gt 0 ]
