#!/bin/sh
# SPDX-License-Identifier: MIT
# Makes the manual: OUT/doc/html, the reference; OUT/man, the pages of sections 3 and 7, and 1 where a TOOL is given.
# What is not documented, in a header or by an example, is a failure.
# usage: make.sh SOURCE DOXYFILE OUT VERSION [TOOL]
set -eu
SOURCE=$1 DOXYFILE=$2 OUT=$3 VERSION=$4 TOOL=${5-}

rm -rf "$OUT/doc/html" "$OUT/doc/xml" "$OUT/man/man3" "$OUT/man/man7"
mkdir -p "$OUT/doc" "$OUT/man/man1"
{
    cat "$DOXYFILE"
    echo "OUTPUT_DIRECTORY = \"$OUT/doc\""
} | doxygen -
python3 "$SOURCE/docs/manpages.py" "$OUT/doc/xml" "$SOURCE/examples" "$OUT/man" "$VERSION"
rm -r "$OUT/doc/xml"
if [ -n "$TOOL" ]; then
    python3 "$SOURCE/docs/toolpage.py" "$TOOL" "$SOURCE/docs/systemapi.1.in" "$VERSION" >"$OUT/man/man1/systemapi.1"
fi
