#pragma once

#include <string>

namespace brindle {

/// The whole content of a file.
struct FileText {
    std::string bytes;
    bool opened = false;
    bool complete = false; // false if a read failed: the content is cut off
};

/// Opens the file at `path` and reads it to its end. It is not mapped, because another process may truncate it at any
/// time.
FileText readFile(const std::string& path);

}
