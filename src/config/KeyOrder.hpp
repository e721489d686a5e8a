#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace brindle {

/// Sorts words of a text, given by where they begin, by their keys. A word's key ends before its first `=`, which it
/// has; keys compare bytewise, and words of equal keys stay in their order. So do long keys that eight looks, of seven
/// bytes each, do not tell apart.
void sortByKey(const std::string& text, std::vector<std::size_t>& words);

}
