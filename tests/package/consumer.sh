#!/bin/sh
# consumer.sh WAY [BUILD_DIR]: builds and runs the README's program outside the tree. The ways to the library:
#   find_package, pkg-config, meson    it is installed: from BUILD_DIR, in a tree that is then moved away; without BUILD_DIR,
#                                      wherever the system has it
#   add_subdirectory, FetchContent     its sources are a part of the program's own build
# CXX and CMAKE_TOOLCHAIN_FILE mean what they mean to CMake. For another machine BRINDLE_EMULATOR starts programs, and
# LDFLAGS says how they are linked.
set -eu
way=$1 build=${2:-} compiler=${CXX:-c++}
source=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp "$source"/tests/package/consumer/* "$work"
# shellcheck disable=SC2016 # backquotes, as they stand
sed -n '/^```cpp$/,/^```$/p' "$source/README.md" | sed '/^```/d' >"$work/main.cpp"
diff -u "$source/examples/minimal.cpp" "$work/main.cpp"

if [ -n "$build" ]; then
    cmake --install "$build" --prefix "$work/installed" >"$work/install.log"
    prefix=$work/moved
    mv "$work/installed" "$prefix"
    diff -r "$source/include/brindle" "$prefix/include/brindle"
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name brindle.pc)")
    export PKG_CONFIG_PATH
fi

with_cmake() { # with_cmake OPTION...
    cmake -G Ninja -S "$work" -B "$work/build" -DWAY="$way" "$@" >"$work/configure.log"
    cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log"; return 1; }
    cmake --install "$work/build" --prefix "$work/own" >"$work/install.log"
    if [ -e "$work/own" ]; then
        echo "consumer.sh: the program installs nothing, yet these are installed with it:" >&2
        find "$work/own" >&2
        return 1
    fi
}

case $way in
    find_package)
        # A toolchain file adds the sysroot to the roots that are searched.
        with_cmake ${build:+-DCMAKE_PREFIX_PATH="$prefix"} \
            ${build:+${CMAKE_TOOLCHAIN_FILE:+-DCMAKE_FIND_ROOT_PATH="$prefix"}}
        ;;
    add_subdirectory | FetchContent)
        # Not optimised, and several sources in one: a third of the time.
        with_cmake -DSOURCE="$source" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON
        ;;
    meson)
        meson setup "$work/build" "$work" >"$work/configure.log" || { cat "$work/configure.log"; exit 1; }
        meson compile -C "$work/build" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
        ;;
    pkg-config)
        grep -q "^  VERSION $(pkg-config --modversion brindle)\$" "$source/CMakeLists.txt"
        mkdir "$work/build"
        # shellcheck disable=SC2046,SC2086 # lists of flags
        "$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror ${LDFLAGS:-} "$work/main.cpp" \
            -o "$work/build/program" $(pkg-config --cflags --libs brindle) \
            "-Wl,-rpath,$(pkg-config --variable=libdir brindle)"
        ;;
    *) echo "consumer.sh: '$way' is not a way to the library" >&2; exit 2 ;;
esac

# shellcheck disable=SC2086 # a list of words
${BRINDLE_EMULATOR:-} "$work/build/program" --help | grep -q '^  -h, --help  Show this help text\.$'
# shellcheck disable=SC2086
test "$(${BRINDLE_EMULATOR:-} "$work/build/program")" = working
echo "consumer.sh: a program that has the library by $way works"
