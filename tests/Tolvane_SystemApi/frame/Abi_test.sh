#!/bin/sh
# SPDX-License-Identifier: MIT
# What programs were built against, compared with what the libraries are now: types, parameters, members and symbols.
# usage: Abi_test.sh SOURCE BUILD [--renew]; in the environment: CMAKE, CC, CXX
# --renew writes the baseline anew, for a change that is meant.
set -eu
SOURCE=$1 BUILD=$2/abi
BASELINE=$SOURCE/tests/data/abi
SUPPRESSIONS="--suppressions $BASELINE/standard-library.suppr"

if ! command -v abidw >/dev/null || ! command -v abidiff >/dev/null; then
    echo "skipped: no abidw or abidiff (package abigail-tools)"
    [ -z "${SYSTEMAPI_TESTS_FORBID_SKIP-}" ] || exit 1
    exit 77
fi

# The two libraries with debug information, whatever the whole build has; kept for the next time.
"$CMAKE" -S "$SOURCE" -B "$BUILD" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
    -DBUILD_SHARED_LIBS=ON -DBUILD_TESTING=OFF -DSYSTEMAPI_BUILD_TOOL=OFF
"$CMAKE" --build "$BUILD"

status=0
for name in Tolvane_BaseLib Tolvane_SystemApi; do
    library=$BUILD/$name/lib$name.so
    if [ "${3-}" = --renew ]; then
        # shellcheck disable=SC2086 # words
        abidw $SUPPRESSIONS --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names \
            --type-id-style hash --exported-interfaces-only --drop-undefined-syms --out-file "$BASELINE/$name.abi" "$library"
        # Where it was built does not matter.
        sed -i "s|path=.[^']*/Tolvane_|path='Tolvane_|" "$BASELINE/$name.abi"
    else
        # shellcheck disable=SC2086 # words
        abidiff $SUPPRESSIONS "$BASELINE/$name.abi" "$library" || status=1
    fi
done
exit $status
