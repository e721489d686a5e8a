// In the coverage preset, part of the library: a process that ends by _exit leaves the library's counts behind, too.

#include <sys/syscall.h>
#include <unistd.h>

extern "C" {

void __gcov_dump();

__attribute__((visibility("default"))) void _exit(int status)
{
    __gcov_dump();
    syscall(SYS_exit_group, status);
    __builtin_unreachable();
}
}
