#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace brindle {

/// Sorts words of a text by their keys. `words` has the position of each word in `text`.
///
/// A word's key ends before its first `=`, which each word has. Keys compare bytewise. Words with equal keys keep their
/// order, and so do words whose long keys the sort does not tell apart in eight rounds of seven bytes each.
void sortByKey(const std::string& text, std::vector<std::size_t>& words);

}
