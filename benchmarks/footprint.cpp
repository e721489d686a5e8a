// How much of the heap does a started application hold, in bytes?
//
// The application has three options, has parsed its command line and is ready to wait; its own objects do not count.

#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <vector>

using brindle::Application;
using brindle::Option;

namespace {

std::size_t heapInUse()
{
#if !defined(__UCLIBC__) && __GLIBC_PREREQ(2, 33)
    const auto heap = mallinfo2();
#else
    const auto heap = mallinfo();
#endif
    return static_cast<std::size_t>(heap.uordblks) + static_cast<std::size_t>(heap.hblkhd);
}

}

int main(int argc, char** argv)
{
    Option help("help", 'h', false, "Show this help text.");
    Option version("version", 'V', false, "Show the version.");
    Option config("config", 'c', true, "Read FILE.");
    std::vector<Option*> options = {&help, &version, &config};

    const std::size_t before = heapInUse();
    Application& app = Application::app();
    const std::size_t made = heapInUse();
    if (app.init(&argc, argv, &options) != 0) {
        return EXIT_FAILURE;
    }
    while (app.parseArg() == 0) {
    }
    const std::size_t started = heapInUse();
    std::printf("the application's record: %zu bytes\n", made - before);
    std::printf("with APR and the command line: %zu bytes\n", started - before);
    return EXIT_SUCCESS;
}
