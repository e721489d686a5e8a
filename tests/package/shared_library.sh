#!/bin/sh
# shared_library.sh LIBRARY SYMBOLS [SIZE]: fails unless the library
# - exports just the names that SYMBOLS lists for Debian's packages, with the version that brought each;
# - is called libbrindle.so.1 in a file libbrindle.so.1.MINOR.PATCH, has its symbols bound when it is loaded, and is never
#   unloaded;
# - has no atomic operation done by libatomic, which may lock: a signal handler could wait for its own thread;
# - does not call strerror(), whose buffer threads share on some C libraries;
# - takes at most SIZE bytes, stripped.
# To add new names: nm -D --defined-only LIBRARY | sed -n 's/.* \(_Z.*\)@@/ \1@/p' | LC_ALL=C sort -u
set -eu
printf '%s\n' "${1##*/}" | grep -qx 'libbrindle\.so\.1\.[0-9]*\.[0-9]*' || { echo "$1 is not libbrindle.so.1.MINOR.PATCH" >&2; exit 1; }
dynamic=$(LC_ALL=C readelf -d "$1")
for entry in '(SONAME).*\[libbrindle\.so\.1\]' '(FLAGS_1).* NOW\>' '(FLAGS_1).* NODELETE\>'; do
  printf '%s\n' "$dynamic" | grep "$entry" >/dev/null || { echo "$1: the dynamic section has no $entry" >&2; exit 1; }
done
LC_ALL=C readelf -lW "$1" | grep '^ *TLS ' >/dev/null || {
  echo "$1: nothing in it is a thread's own, but each that forks must have a mask of its own to restore" >&2
  exit 1
}
if nm -D --undefined-only "$1" | grep ' __atomic_'; then echo "$1 needs libatomic" >&2; exit 1; fi
if nm -D --undefined-only "$1" | grep ' strerror\(@.*\)\?$'; then
  echo "$1 asks for texts in a buffer that all threads may share" >&2
  exit 1
fi
exported=$(nm -D --defined-only "$1" | sed -n 's/.* \(_Z.*\)@@/\1@/p' | LC_ALL=C sort -u)
listed=$(sed -n 's/^ \(_Z.*\) [0-9.]*$/\1/p' "$2" | LC_ALL=C sort -u)
if [ "$exported" != "$listed" ]; then
  echo "$1 and $2 differ in these names:" >&2
  printf '%s\n' "$exported" "$listed" | LC_ALL=C sort | uniq -u >&2
  exit 1
fi
if [ -n "${3:-}" ]; then
  stripped=$(mktemp)
  trap 'rm "$stripped"' EXIT
  strip -o "$stripped" "$1"
  size=$(stat -c %s "$stripped")
  if [ "$size" -gt "$3" ]; then
    echo "$1 takes $size bytes, stripped, and should take at most $3" >&2
    exit 1
  fi
fi
