#pragma once

#include <brindle/Export.hpp>

#include <string>
#include <vector>

// The parts of Version. They are exported, but no public header declares them.

/// Whether every level from `first` up to `last` is 0; true for none.
BRINDLE_EXPORT bool compHelper_terminatesInZeroes(std::vector<int>::const_iterator first,
                                                  std::vector<int>::const_iterator last);

/// Whether some byte is a letter in the current C locale.
BRINDLE_EXPORT bool constructorHelper_containsLetter(const std::string& text);

/// Appends the decimal digits of a number, or the last one with its sign if the number is negative.
BRINDLE_EXPORT void constructorHelper_separateIntIntoVec(int number, std::vector<int>& levels);

/// Appends the levels of a version text; throws std::runtime_error at the first level that is no number.
BRINDLE_EXPORT void constructorHelper_separateStringIntoVec(const std::string& text, std::vector<int>& levels);
