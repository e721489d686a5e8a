#pragma once

#include <string>

namespace brindle {

/// What a file holds, all of it.
struct FileText {
    std::string bytes;
    bool opened = false;
    bool complete = false; // false if a read failed: what there is breaks off somewhere
};

/// Opens the file at `path` and reads it to its end. It is not mapped: another process may cut it off at any time.
FileText readFile(const std::string& path);

}
