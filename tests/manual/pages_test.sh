#!/bin/sh
# SPDX-License-Identifier: MIT
# Makes the manual, and looks whether each page can be rendered and found. Then takes one thing after the other away
# from the headers: each must make it fail.
# usage: pages_test.sh SOURCE BUILD [TOOL]
set -eu
SOURCE=$1 BUILD=$2 TOOL=${3-}
for need in doxygen python3 man lexgrog; do
    command -v $need >/dev/null && continue
    echo "skipped: no $need"
    [ -n "${SYSTEMAPI_TESTS_FORBID_SKIP-}" ] && exit 1
    exit 77
done
PLACE=$(mktemp -d)
trap 'rm -rf "$PLACE"' EXIT

fail() {
    echo "failed: $*"
    exit 1
}

make_manual() { # SOURCE [TOOL]
    sed "s|$SOURCE|$1|" "$BUILD/docs/Doxyfile" >"$PLACE/Doxyfile"
    sh "$SOURCE/docs/make.sh" "$1" "$PLACE/Doxyfile" "$PLACE/out" 1.2.3 "${2-}" >"$PLACE/log" 2>&1
}

make_manual "$SOURCE" "$TOOL" || { cat "$PLACE/log"; fail "the manual cannot be made"; }
[ -f "$PLACE/out/doc/html/index.html" ] || fail "no HTML"
! grep -rqF "$SOURCE" "$PLACE/out" || fail "the manual tells where it was made"
cd "$PLACE/out/man"
pages=0
for page in man*/*; do
    LC_ALL=C.UTF-8 man --warnings -l -Tutf8 "$page" >"$PLACE/text" 2>"$PLACE/log" || fail "$page: man"
    [ ! -s "$PLACE/log" ] || { cat "$PLACE/log"; fail "$page: warnings"; }
    lexgrog "$page" | grep -q "\"$(basename "${page%.*}") - " || fail "$page: whatis does not find it"
    pages=$((pages + 1))
done
echo "$pages pages"
for function in $(sed -n 's/^\(SYSTEMAPI\|BASELIB\)_EXPORT [a-z ]* \(\w*\)(.*/\2/p' "$SOURCE"/Tolvane_*/include/*.h); do
    [ -f "man3/$function.3" ] || fail "no page of $function"
done
if [ -n "$TOOL" ]; then # the commands are the tool's own
    MANWIDTH=120 man -l man1/systemapi.1 >"$PLACE/text"
    for want in 'systemapi file cp' 'systemapi system shutdown' '--version' 'EXIT STATUS'; do
        grep -q -e "$want" "$PLACE/text" || fail "systemapi(1) without $want"
    done
fi

# refused: takes something away from a copy of the sources for each line "REFUSAL|FILE|SED COMMAND" of its input.
cd "$PLACE"
refused() {
    rm -rf broken
    mkdir broken
    cp -r "$SOURCE/Tolvane_BaseLib" "$SOURCE/Tolvane_SystemApi" "$SOURCE/docs" "$SOURCE/examples" broken
    cat >table
    while IFS='|' read -r refusal file edit; do
        sed -i "$edit" "broken/$file"
    done <table
    ! make_manual "$PLACE/broken" || fail "the manual is made all the same"
    while IFS='|' read -r refusal file edit; do
        grep -q -e "$refusal" log || { head -n 20 log; fail "no word of: $refusal"; }
    done <table
}

refused <<'TABLE'
parameter 'nDiskType'|Tolvane_SystemApi/include/Tolvane_SystemApi.h|/ \\param\[in\] *nDiskType /d
return type of member BaseLib_String_DelSubA|Tolvane_BaseLib/include/Tolvane_BaseLib.h|/ \\return true when at least one/d
Member ERROR_SYSTEMAPI_FILE_COPY_COPY .* is not documented|Tolvane_SystemApi/include/Tolvane_SystemApi.h|s/\(FILE_COPY_COPY 0x040A0072UL\).*/\1/
no_such_error_symbol_COPY_EXISTS|Tolvane_SystemApi/include/Tolvane_SystemApi.h|s/_COPY_EXIST,/_COPY_EXISTS,/
parameter 'pSt_Second'|Tolvane_SystemApi/SystemApi_System/SystemApi_System.h|/ \\param\[in\] pSt_Second/d
Member nFileSize .* is not documented|Tolvane_SystemApi/include/Tolvane_SystemApi.h|s/\(long long nFileSize;\).*/\1/
TABLE
refused <<'TABLE' # where the comments are whole, but a page would leave a question open
SystemApi_File_CopyFileA: nothing on Blocking|Tolvane_SystemApi/include/Tolvane_SystemApi.h|/ \* Blocking   while it copies\.$/d
STOP_KILL: no operation's result names it|Tolvane_SystemApi/include/Tolvane_SystemApi.h|s/ \.\.\._STOP_KILL when it failed otherwise//
SystemApi_File_EnumFileA: no example|examples/file.c|/SystemApi_File_EnumFileA/d
TABLE
