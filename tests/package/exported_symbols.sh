#!/bin/sh
# exported_symbols.sh LIBRARY LIST: fails unless the library exports just what the list says.
# To make the list anew: exported_symbols.sh LIBRARY /dev/null | sed -n 's/^+\([^+]\)/\1/p'
set -eu
nm -D --defined-only "$1" | c++filt | cut -d' ' -f3- | grep -v '^BRINDLE_1$' | LC_ALL=C sort -u | diff -u "$2" -
