#!/bin/sh
# SPDX-License-Identifier: MIT
# Installs a build into a new folder, and builds and runs consumers against it, there and after the folder has moved.
# usage: Consumers_test.sh SOURCE BUILD static|shared; in the environment: CC, CXX, CMAKE, LIBDIR, BUILD_TYPE
set -eux
SOURCE=$1 BUILD=$2 LINKAGE=$3
PLACE=$(mktemp -d)
trap 'rm -rf "$PLACE"' EXIT
unset DESTDIR PKG_CONFIG_PATH LD_LIBRARY_PATH

# The other linkage than that of the whole build: the two libraries alone, kept for the next time.
if ! grep -q "^BUILD_SHARED_LIBS:BOOL=$([ "$LINKAGE" = shared ] && echo ON || echo OFF)\$" "$BUILD/CMakeCache.txt"; then
    "$CMAKE" -S "$SOURCE" -B "$BUILD/$LINKAGE" -DCMAKE_BUILD_TYPE="$BUILD_TYPE" -DCMAKE_C_COMPILER="$CC" \
        -DCMAKE_CXX_COMPILER="$CXX" -DBUILD_SHARED_LIBS="$([ "$LINKAGE" = shared ] && echo ON || echo OFF)" \
        -DBUILD_TESTING=OFF -DSYSTEMAPI_BUILD_TOOL=OFF
    BUILD=$BUILD/$LINKAGE
    "$CMAKE" --build "$BUILD"
fi
"$CMAKE" --install "$BUILD" --prefix "$PLACE/installed"
if grep -rn -e "$SOURCE" -e "$PLACE" "$PLACE/installed" --include='*.cmake' --include='*.pc'; then
    exit 1 # what is installed must not depend on where it was built, nor on where it stands
fi

STATIC='' LIBRARIES=2
if [ "$LINKAGE" = static ]; then
    STATIC=--static LIBRARIES=0
fi

# consume LANGUAGE COMPILER WARNINGS...: through CMake and through pkg-config
consume() {
    language=$1 compiler=$2
    shift 2
    "$CMAKE" -S "$SOURCE/tests/package/$language" -B "$PLACE/$language" -DCMAKE_PREFIX_PATH="$TREE" \
        -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" >"$PLACE/log" || { cat "$PLACE/log"; exit 1; }
    "$CMAKE" --build "$PLACE/$language"
    # shellcheck disable=SC2046 # words
    "$compiler" "$@" -Wall -Wextra -Wpedantic -Werror "$SOURCE/tests/package/$language"/consumer.c* \
        -o "$PLACE/$language-consumer" \
        $(PKG_CONFIG_PATH=$TREE/$LIBDIR/pkgconfig pkg-config $STATIC --cflags --libs tolvane-systemapi)
    for program in "$PLACE/$language/consumer" "$PLACE/$language-consumer"; do
        [ "$(readelf -d "$program" | grep -c 'NEEDED.*Tolvane')" -eq $LIBRARIES ]
    done
    (cd "$PLACE" && "$language/consumer" && LD_LIBRARY_PATH=$TREE/$LIBDIR "./$language-consumer")
    rm -rf "${PLACE:?}/$language"
}

for place in installed moved; do
    TREE=$PLACE/$place
    [ -d "$TREE" ] || mv "$PLACE/installed" "$TREE"
    consume c "$CC" -std=c99
    consume cpp "$CXX" -std=c++17
    if [ -e "$BUILD/systemapi" ]; then
        (cd "$TREE/share" && cat bash-completion/completions/systemapi zsh/site-functions/_systemapi \
            fish/vendor_completions.d/systemapi.fish >"$PLACE/completions")
        for shell in bash zsh fish; do "$TREE/bin/systemapi" completions $shell; done | cmp - "$PLACE/completions"
        if command -v python3 >/dev/null; then grep -q 'report' "$TREE/share/man/man1/systemapi.1"; fi
    fi
done
