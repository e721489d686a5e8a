# 32-bit big-endian PowerPC with uClibc-ng: the toolchain and libraries that script/cross built.
set(BRINDLE_TARGET powerpc-linux-uclibc)
include(${CMAKE_CURRENT_LIST_DIR}/sysroot.cmake)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)
set(CMAKE_C_COMPILER ${BRINDLE_SYSROOT}/../bin/powerpc-linux-uclibc-gcc)
set(CMAKE_CXX_COMPILER ${BRINDLE_SYSROOT}/../bin/powerpc-linux-uclibc-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc;-L;${BRINDLE_SYSROOT})
