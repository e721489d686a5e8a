# What Doxygen does not list.
/^ *friend /s/.*//
/= delete;/s/.*//
