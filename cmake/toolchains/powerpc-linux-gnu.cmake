# 32-bit big-endian PowerPC with glibc: Debian's cross compiler, with the libraries that script/cross built for it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(BRINDLE_TARGET powerpc-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/sysroot.cmake)

# The C library is not in that sysroot but where Debian's compiler and the emulator find it, so both the linker and the
# dynamic loader have to be told where the libraries are that libbrindle.so needs.
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${BRINDLE_SYSROOT}/usr/lib)
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-ppc;-L;/usr/powerpc-linux-gnu;-E;LD_LIBRARY_PATH=${BRINDLE_SYSROOT}/usr/lib)
