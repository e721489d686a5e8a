#!/bin/sh
# package.sh BUILD_DIR SOURCE_DIR COMPILER [TOOLCHAIN_FILE]: installs the library to a place of its own, and there builds
# and runs the README's program outside the tree, once through the CMake package and once through pkg-config.
# For another machine: BRINDLE_EMULATOR starts programs, and LDFLAGS says how they are linked.
set -eu
build=$1 source=$2 compiler=$3 toolchain=${4:-} emulator=${BRINDLE_EMULATOR:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >"$work/install.log"
diff -r "$source/include/brindle" "$prefix/include/brindle"
# shellcheck disable=SC2016 # backquotes, as they stand
sed -n '/^```cpp$/,/^```$/p' "$source/README.md" | sed '/^```/d' >"$work/main.cpp"
diff -u "$source/examples/minimal.cpp" "$work/main.cpp"

check() { # check PROGRAM
    $emulator "$1" --help | grep -q '^  -h, --help  Show this help text\.$'
    $emulator "$1" >/dev/null
    echo "$1 works"
}

cp "$source/tests/package/consumer/CMakeLists.txt" "$work"
# A toolchain file adds the sysroot to the roots that are searched.
cmake -G Ninja -S "$work" -B "$work/cmake" ${toolchain:+--toolchain "$toolchain" -DCMAKE_FIND_ROOT_PATH="$prefix"} \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure.log"
cmake --build "$work/cmake"
check "$work/cmake/program"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name brindle.pc)")
export PKG_CONFIG_PATH
grep -q "^  VERSION $(pkg-config --modversion brindle)\$" "$source/CMakeLists.txt"
# shellcheck disable=SC2046,SC2086 # lists of flags
"$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror ${LDFLAGS:-} "$work/main.cpp" -o "$work/program" \
    $(pkg-config --cflags --libs brindle) "-Wl,-rpath,$(pkg-config --variable=libdir brindle)"
check "$work/program"
