#!/bin/sh
# consumer.sh WAY [BUILD_DIR]: builds and runs the README's program outside the tree. The ways to the library:
#   find_package, pkg-config, meson    it is installed: from BUILD_DIR, in a tree that is then moved away; without BUILD_DIR,
#                                      wherever the system has it
#   static                             the same with libbrindle.a, which is built for it: find_package, pkg-config --static, and,
#                                      here and with musl, a program that is static as a whole
#   add_subdirectory, FetchContent     its sources are a part of the program's own build
#   FetchContent-static                the same with libbrindle.a; the program is installed and started from there
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

fail() {
    echo "consumer.sh: $*" >&2
    exit 1
}

works() { # works COMMAND...: the program that it starts does what it should
    # shellcheck disable=SC2086 # a list of words
    ${BRINDLE_EMULATOR:-} "$@" --help | grep -q '^  -h, --help  Show this help text\.$'
    # shellcheck disable=SC2086
    test "$(${BRINDLE_EMULATOR:-} "$@")" = working
}

# Not optimised, and several sources in one: a third of the time.
quick='-DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON'

if [ "$way" = static ]; then
    build=$work/library
    # shellcheck disable=SC2086 # a list of words
    cmake -G Ninja -S "$source" -B "$build" $quick -DBUILD_SHARED_LIBS=OFF -DBRINDLE_BUILD_TESTS=OFF \
        -DBRINDLE_BUILD_EXAMPLES=OFF >"$work/library.log"
    cmake --build "$build" >>"$work/library.log" || { cat "$work/library.log"; exit 1; }
fi

if [ -n "$build" ]; then
    # The components have each file once.
    for component in Runtime Development Tools; do
        cmake --install "$build" --prefix "$work/$component" --component "$component" >"$work/install.log"
        if [ -e "$work/$component" ]; then (cd "$work/$component" && find . ! -type d); fi
    done | sort >"$work/parts"
    cmake --install "$build" --prefix "$work/installed" >"$work/install.log"
    (cd "$work/installed" && find . ! -type d) | sort | diff -u - "$work/parts"
    prefix=$work/moved
    mv "$work/installed" "$prefix"
    diff -r "$source/include/brindle" "$prefix/include/brindle"
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name brindle.pc)")
    export PKG_CONFIG_PATH
fi

with_cmake() { # with_cmake OPTION...
    cmake -G Ninja -S "$work" -B "$work/build" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "$@" \
        >"$work/configure.log"
    cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log"; return 1; }
    cmake --install "$work/build" --prefix "$work/own" >"$work/install.log"
    test "$(cd "$work/own" && find . ! -type d)" = ./bin/program || fail "not the program alone is installed: $work/own"
}

find_package() { # a toolchain file adds the sysroot to the roots that are searched
    with_cmake -DWAY=find_package ${build:+-DCMAKE_PREFIX_PATH="$prefix"} \
        ${build:+${CMAKE_TOOLCHAIN_FILE:+-DCMAKE_FIND_ROOT_PATH="$prefix"}}
}

compile() { # compile PROGRAM SOURCE-OR-OPTION...
    output=$1
    shift
    # shellcheck disable=SC2046,SC2086 # lists of flags
    "$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror ${LDFLAGS:-} "$@" -o "$output" \
        $(pkg-config $static --cflags --libs brindle) "-Wl,-rpath,$(pkg-config --variable=libdir brindle)"
}

has_it_inside() { # has_it_inside PROGRAM: the library, and no call that the dynamic linker would resolve in the handler
    LC_ALL=C readelf -dW "$1" >"$work/dynamic"
    if grep 'NEEDED.*brindle' "$work/dynamic"; then fail "$1 needs the shared library"; fi
    if grep -q NEEDED "$work/dynamic" && ! grep -q 'FLAGS_1.* NOW\>' "$work/dynamic"; then
        fail "$1 does not bind its symbols when it is loaded"
    fi
}

static=
case $way in
    find_package) find_package ;;
    add_subdirectory | FetchContent)
        # shellcheck disable=SC2086 # a list of words
        with_cmake -DWAY="$way" -DSOURCE="$source" $quick
        ;;
    FetchContent-static)
        # shellcheck disable=SC2086 # a list of words
        with_cmake -DWAY=FetchContent -DSOURCE="$source" $quick -DBUILD_SHARED_LIBS=OFF
        rm -r "$work/build"
        has_it_inside "$work/own/bin/program"
        works "$work/own/bin/program"
        ;;
    meson)
        meson setup "$work/build" "$work" >"$work/configure.log" || { cat "$work/configure.log"; exit 1; }
        meson compile -C "$work/build" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
        ;;
    pkg-config)
        grep -q "^  VERSION $(pkg-config --modversion brindle)\$" "$source/CMakeLists.txt"
        mkdir "$work/build"
        compile "$work/build/program" "$work/main.cpp"
        # So do the examples, each from where Debian's package lays it: by its list here, installed elsewhere.
        examples=usr/share/doc/libbrindle-dev/examples
        if [ -n "$build" ]; then
            while read -r files directory; do
                mkdir -p "$work/$directory"
                # shellcheck disable=SC2086 # a pattern
                cp -R "$source"/$files "$work/$directory"
            done <"$source/debian/libbrindle-doc.install"
            examples=$work/$examples
        else
            examples=/$examples
        fi
        for example in minimal.cpp entries.cpp sensor.cpp 'heartbeat/*.cpp'; do
            # shellcheck disable=SC2086 # a pattern
            compile "$work/example" "$examples"/$example
        done
        ;;
    static)
        find_package
        if grep -e ' -D' -e apr-1 "$work/build/compile_commands.json"; then
            fail "flags of APR's have reached the program's sources"
        fi
        has_it_inside "$work/build/program"
        works "$work/build/program"
        static=--static
        case $(pkg-config --static --cflags brindle) in
            *-D* | *apr*) fail "pkg-config hands on flags of APR's" ;;
        esac
        compile "$work/build/program" "$work/main.cpp"
        has_it_inside "$work/build/program"
        case ${CMAKE_TOOLCHAIN_FILE:+$compiler} in
            '' | *-musl*)
                works "$work/build/program"
                compile "$work/build/program" -static "$work/main.cpp" 2>"$work/link.log" || { cat "$work/link.log"; exit 1; }
                if readelf -lW "$work/build/program" | grep INTERP; then fail "the program is not static"; fi
                ;;
        esac
        ;;
    *) echo "consumer.sh: '$way' is not a way to the library" >&2; exit 2 ;;
esac

if [ -e "$work/build" ]; then works "$work/build/program"; fi
echo "consumer.sh: a program that has the library by $way works"
