# Installs the tree into a new folder, and builds and runs the example against it in both documented ways.
set -eux
SOURCE=$1 BUILD=$2
PLACE=$(mktemp -d)
trap 'rm -rf "$PLACE"' EXIT

"$CMAKE" --install "$BUILD" --prefix "$PLACE/installed"
if grep -rn "$SOURCE" "$PLACE/installed" --include='*.cmake' --include='*.pc'; then
    exit 1 # what is installed must not depend on the tree
fi
"$PLACE/installed/bin/systemapi" --version

"$CMAKE" -S "$SOURCE/examples" -B "$PLACE/build" -DCMAKE_PREFIX_PATH="$PLACE/installed"
"$CMAKE" --build "$PLACE/build"
"$PLACE/build/memory" | grep 'MiB are available'

PKG_CONFIG_PATH=$PLACE/installed/$LIBDIR/pkgconfig
export PKG_CONFIG_PATH
# shellcheck disable=SC2046 # words
"$CC" -std=c99 -Wall -Wextra -Wpedantic -Werror "$SOURCE/examples/memory.c" -o "$PLACE/memory" \
    $(pkg-config --cflags --libs tolvane-systemapi)
LD_LIBRARY_PATH=$PLACE/installed/$LIBDIR "$PLACE/memory" | grep 'MiB are available'
