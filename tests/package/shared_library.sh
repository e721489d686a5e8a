#!/bin/sh
# shared_library.sh LIBRARY LIST SYMBOLS: fails unless the library exports just what the list says, and SYMBOLS, which has
# since when for Debian's packages; is called libbrindle.so.1 in a file libbrindle.so.1.MINOR.PATCH, has its symbols bound
# when it is loaded, is never unloaded, and has no atomic operation done by libatomic, which may lock: a signal handler could
# wait for its own thread.
# To make the list anew: shared_library.sh LIBRARY /dev/null /dev/null | sed -n 's/^+\([^+]\)/\1/p'
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
nm -D --defined-only "$1" | c++filt | cut -d' ' -f3- | grep -v '^BRINDLE_1$' | LC_ALL=C sort -u | diff -u "$2" -
sed -n 's/^ (c++)"\(.*@\)BRINDLE_1" [0-9.]*$/\1@BRINDLE_1/p' "$3" | LC_ALL=C sort | diff -u "$2" -
