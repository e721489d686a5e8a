# Sourced by the scripts beside it, which set `target`, and `recipe_files` for what their steps read of this project.
# They leave everything in $BRINDLE_CROSS_ROOT/$target, by default below ~/.cache/brindle.
# shellcheck disable=SC2154 # those two
set -euo pipefail
default=~/.cache/brindle
BRINDLE_CROSS_ROOT=$(realpath -m "${BRINDLE_CROSS_ROOT:-$default}")
export BRINDLE_CROSS_ROOT LC_ALL=C
# What is set for this machine's compiler is not for the target's.
unset CC CXX CPP CFLAGS CXXFLAGS CPPFLAGS LDFLAGS LIBS CPATH LIBRARY_PATH MAKEFLAGS
case $BRINDLE_CROSS_ROOT in
    *[[:space:]]*)
        echo "${0##*/}: '$BRINDLE_CROSS_ROOT' has a blank in it; set BRINDLE_CROSS_ROOT to a directory without" >&2
        exit 2
        ;;
esac
project=$(cd "${BASH_SOURCE[0]%/*}/../.." && pwd)
root=$BRINDLE_CROSS_ROOT/$target
sysroot=$root/sysroot
sources=$root/sources
build=$root/build
jobs=$(nproc)

# recipe STEP...: what makes the target. After a change to it what was made before is of no use.
recipe() {
    declare -f "$@" configure_make_install
    (cd "$project" && cat cmake/toolchains/sysroot.cmake "cmake/toolchains/$target.cmake" "${recipe_files[@]}")
}

is_ready() {
    [ -e "$root/ready" ] && cmp -s "$root/recipe" <(recipe "$@")
}

# prepare STEP...: takes the steps that have not been taken, one function each. A run that was interrupted goes on where
# it stopped.
prepare() {
    local step log started status lock
    mkdir -p "$BRINDLE_CROSS_ROOT"
    exec {lock}>"$root.lock"
    if ! flock -n "$lock"; then
        echo "$target: waits for another run that prepares it"
        flock "$lock"
    fi
    if is_ready "$@"; then return; fi

    "$project/script/bootstrap" "${0##*/}"
    if [ -e "$root" ] && [ ! -e "$root/recipe" ]; then
        echo "${0##*/}: '$root' is not from here; move it away, or set BRINDLE_CROSS_ROOT to another directory" >&2
        exit 1
    fi
    cmp -s "$root/recipe" <(recipe "$@") || rm -rf "$root"
    mkdir -p "$root"
    recipe "$@" >"$root/recipe"
    mkdir -p "$root/done" "$root/log" "$sysroot/usr/include" "$sysroot/usr/lib" "$sysroot/lib"
    for step; do
        if [ -e "$root/done/$step" ]; then continue; fi
        started=$SECONDS
        log=$root/log/$step
        # Not as the condition of an "if", or a failing command inside would not end it.
        set +e
        (
            set -e
            "$step"
        ) >"$log" 2>&1
        status=$?
        set -e
        if [ "$status" -ne 0 ]; then
            tail -n 20 "$log" >&2
            echo "${0##*/}: '$step' failed; all it said is in $log" >&2
            exit 1
        fi
        touch "$root/done/$step"
        echo "$target: $step, $((SECONDS - started)) s"
    done
    rm -rf "$sources" "$build"
    touch "$root/ready"
}

# main OPTION STEP...: with --is-ready only tells, by its status, whether all is there.
main() {
    local option=$1
    shift
    case $option in
        '') prepare "$@" ;;
        --is-ready) is_ready "$@" ;;
        *)
            echo "${0##*/}: '$option' is not --is-ready" >&2
            exit 2
            ;;
    esac
}

# Through an apt of its own, so that the machine's need not know of source packages.
fetch_debian_sources() {
    local apt=$sources/apt list
    rm -rf "$sources"
    mkdir -p "$apt/sources.list.d" "$apt/lists/partial" "$apt/cache/archives/partial"
    touch "$apt/sources.list"
    if [ -e /etc/apt/sources.list ]; then
        sed -n 's/^deb[[:blank:]]/deb-src /p' /etc/apt/sources.list >"$apt/sources.list"
    fi
    for list in /etc/apt/sources.list.d/*.sources; do
        if grep -qs debian-archive-keyring "$list"; then
            sed 's/^Types:.*/Types: deb-src/' "$list" >"$apt/sources.list.d/${list##*/}"
        fi
    done
    cd "$sources"
    set -- -o "Dir::Etc::sourcelist=$apt/sources.list" -o "Dir::Etc::sourceparts=$apt/sources.list.d" \
        -o "Dir::State::lists=$apt/lists" -o "Dir::Cache=$apt/cache" -o APT::Sandbox::User=
    apt-get "$@" update
    apt-get "$@" source --download-only apr util-linux
    dpkg-source -x apr_*.dsc apr
    dpkg-source -x util-linux_*.dsc util-linux
    # Debian's patches touch configure.ac; make shall not run the autotools again for that.
    touch util-linux/aclocal.m4
    sleep 1
    touch util-linux/Makefile.in util-linux/configure util-linux/config.h.in
}

# configure_make_install SOURCE ARGUMENT...
configure_make_install() {
    local directory=$build/$1 configure=$sources/$1/configure
    shift
    rm -rf "$directory"
    mkdir -p "$directory"
    cd "$directory"
    CONFIG_SHELL=/bin/bash /bin/bash "$configure" --build="$(gcc -dumpmachine)" --host="$target" \
        --prefix=/usr --libdir=/usr/lib --disable-static "$@"
    make -j"$jobs"
    make install DESTDIR="$sysroot"
    rm -f "$sysroot"/usr/lib/*.la
}

# The answers are those of the target to questions that configure would have to run a program for.
apr() {
    configure_make_install apr \
        ac_cv_file__dev_zero=yes ac_cv_struct_rlimit=yes apr_cv_epoll=yes apr_cv_mutex_recursive=yes \
        apr_cv_mutex_robust_shared=yes apr_cv_process_shared_works=yes apr_cv_tcp_nodelay_with_cork=yes
}

libuuid() {
    configure_make_install util-linux \
        --disable-all-programs --enable-libuuid --disable-nls --disable-asciidoc --without-systemd
}

googletest() {
    cmake -S /usr/src/googletest -B "$build/googletest" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_GMOCK=OFF \
        --toolchain "$project/cmake/toolchains/$target.cmake" --install-prefix /usr
    cmake --build "$build/googletest"
    DESTDIR=$sysroot cmake --install "$build/googletest"
}
