#include "config/ReadFile.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle {

namespace {

static_assert(sizeof(off_t) == 8, "else a file of 2 GiB or more cannot be opened");

constexpr std::size_t PIECE = 16'384;
constexpr std::size_t BIG = 4'194'304;

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

    // The size of the file, and one byte for the read that finds the end. A pipe or a file of /proc reports no size.
    std::size_t firstPiece() const
    {
        struct stat about = {};
        if (fstat(number, &about) != 0 || about.st_size <= 0) {
            return PIECE;
        }
        // A string cannot hold more, and resize() throws then.
        const std::uintmax_t most = SIZE_MAX - 1;
        return static_cast<std::size_t>(std::min(static_cast<std::uintmax_t>(about.st_size), most)) + 1;
    }

    // Like read(), but repeats it after a signal.
    ssize_t readSome(char* buffer, std::size_t room) const
    {
        ssize_t size = 0;
        do {
            size = read(number, buffer, room);
        } while (size < 0 && errno == EINTR);
        return size;
    }

private:
    const int number;
};

// Asks the kernel for large pages. For 56 MB the page faults of 4 KiB pages took longer than all other work on the
// text.
void reserveInLargePages(std::string& text, std::size_t size)
{
    text.reserve(size);
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t beforeFirstPage = (page - reinterpret_cast<std::uintptr_t>(text.data()) % page) % page;
    madvise(text.data() + beforeFirstPage, size - page, MADV_HUGEPAGE); // a failure costs time only
}

}

FileText readFile(const std::string& path)
{
    FileText text;
    const Descriptor file(path);
    text.opened = file.isOpen();
    if (!text.opened) {
        return text;
    }
    const std::size_t piece = file.firstPiece();
    if (piece >= BIG) {
        reserveInLargePages(text.bytes, piece);
    }
    text.bytes.resize(piece);
    std::size_t end = 0;
    ssize_t size = 0;
    do {
        if (end == text.bytes.size()) {
            text.bytes.resize(end + PIECE);
        }
        size = file.readSome(&text.bytes[end], text.bytes.size() - end);
        end += static_cast<std::size_t>(size > 0 ? size : 0);
    } while (size > 0);
    text.bytes.resize(end);
    text.complete = size == 0;
    return text;
}

}
