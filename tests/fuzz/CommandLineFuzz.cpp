// Any words are taken up to the first that is wrong or no option, and each argument is the end of a word.

#include "application/ApplicationImpl.hpp"

#include <brindle/Option.hpp>

#include <cstdint>
#include <cstdlib>
#include <sstream>

using brindle::Application;
using brindle::Option;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Option all("all", 'a', false, ""), port("port", 'p', true, "");
    std::vector<Option*> options = {&all, &port};
    std::string lines = "program\n" + std::string(data, data + size);
    std::vector<char*> words = {lines.data()};
    for (char& byte : lines) {
        if (byte == '\n') {
            byte = '\0';
            words.push_back(&byte + 1);
        }
    }
    words.push_back(nullptr);

    // As init() does, which registers an exit handler each time.
    static auto& record = Application::ApplicationImpl::impl();
    static const int initialised = apr_initialize();
    apr_pool_create(&record.pool, nullptr);
    record.prepareParser(static_cast<int>(words.size()) - 1, words.data(), options);
    record.getoptState->errfn = nullptr; // which prints
    int result = initialised;
    for (std::size_t calls = 0; result == 0; ++calls) {
        result = Application::app().parseArg();
        const bool isFromAWord = (lines + '\0').find(port.argument() + '\0') != std::string::npos;
        if (calls > size || !isFromAWord || result < -1 || result > 1) {
            std::abort();
        }
    }
    record.forgetParser();
    apr_pool_destroy(record.pool);
    return 0;
}
