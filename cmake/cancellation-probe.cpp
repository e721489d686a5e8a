#include <iostream>
#include <pthread.h>
#include <unistd.h>

namespace {

void* readWithoutEnd(void*)
{
    int ends[2] = {};
    char byte = 0;
    while (pipe(ends) == 0 && read(ends[0], &byte, 1) != 0) {
    }
    return nullptr;
}

}

// Checks whether a thread that waits in a system call can be cancelled. If the C library cannot unwind the stack there,
// the process aborts.
int main()
{
    pthread_t reader = {};
    pthread_create(&reader, nullptr, readWithoutEnd, nullptr);
    sleep(1); // the thread reads by then
    pthread_cancel(reader);
    void* result = nullptr;
    pthread_join(reader, &result);
    std::cout << "probe: " << (result == PTHREAD_CANCELED ? "cancelled" : "not cancelled") << std::endl;
    return result == PTHREAD_CANCELED ? 0 : 1;
}
