#include "config/FileText.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle {

namespace {

constexpr std::size_t PIECE = 16'384;

class Descriptor {
public:
    explicit Descriptor(const std::string& path) : number(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (isOpen()) {
            close(number);
        }
    }
    bool isOpen() const { return number >= 0; }

    // What a pipe or /proc says is 0.
    std::size_t saidSize() const
    {
        struct stat about = {};
        return fstat(number, &about) == 0 && about.st_size > 0 ? static_cast<std::size_t>(about.st_size) : 0;
    }

    // As read(), but a signal does not end it.
    ssize_t readSome(char* buffer) const
    {
        ssize_t size = 0;
        do {
            size = read(number, buffer, PIECE);
        } while (size < 0 && errno == EINTR);
        return size;
    }

private:
    const int number;
};

}

FileText readFile(const std::string& path)
{
    FileText text;
    const Descriptor file(path);
    text.opened = file.isOpen();
    for (ssize_t size = text.opened ? 1 : 0; size > 0;) {
        const std::size_t before = text.bytes.size();
        if (before == PIECE) { // big: memory that does not move while it grows saves a tenth of the whole time
            text.bytes.reserve(std::min(file.saidSize(), text.bytes.max_size() - PIECE) + PIECE);
        }
        text.bytes.resize(before + PIECE);
        size = file.readSome(&text.bytes[before]);
        text.bytes.resize(before + static_cast<std::size_t>(size > 0 ? size : 0));
        text.complete = size == 0;
    }
    return text;
}

}
