// Each call of parseArg() takes a part of the command line, whatever its words are.

#include "application/ApplicationImpl.hpp"

#include <brindle/Option.hpp>

#include <cstdint>
#include <cstdlib>

using brindle::Application;
using brindle::Option;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string first(data, data + size);
    std::string second = first.substr(first.find('\n') + 1);
    char* argv[] = {first.data(), first.data(), second.data(), nullptr};
    Option all("all", 'a', false, ""), port("port", 'p', true, "");
    std::vector<Option*> options = {&all, &port};

    // As init() does, which registers an exit handler each time.
    static const int status = apr_initialize();
    static auto& record = Application::ApplicationImpl::impl();
    apr_pool_create(&record.pool, nullptr);
    record.prepareParser(3, argv, options);
    record.getoptState->errfn = nullptr; // which prints
    for (std::size_t calls = 0; status == 0 && Application::app().parseArg() == 0; ++calls) {
        if (calls > 2 * size) {
            std::abort();
        }
    }
    record.forgetParser();
    apr_pool_destroy(record.pool);
    return 0;
}
