#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace brindle {

/// A word of a text that holds a `=`, before which its key ends.
struct Entry {
    std::size_t offset;     // where the word begins
    std::uint64_t head = 0; // of its key; see KeyOrder.cpp
};

/// Sorts the entries by their keys, bytewise; entries of equal keys stay in the order of the text.
void sortByKey(const std::string& text, std::vector<Entry>& entries);

}
