#pragma once

#include <brindle/Export.hpp>

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace brindle::utility {

class BRINDLE_EXPORT Version;

/// Writes the levels with dots between them. The stream formats each level as an int, with its flags and the digit
/// grouping of its locale; a field width applies to the first level. A version without levels writes nothing.
BRINDLE_EXPORT std::ostream& operator<<(std::ostream& stream, const Version& version);

/// A dotted version number such as 1.10.2: read from a text, compared level by level, written to a stream.
///
/// @code
/// const Version found(reportedByDevice);         // "1.10.2"
/// if (found < Version("1.9")) {
///     std::cerr << "firmware " << found << " is too old" << std::endl;
/// }
/// @endcode
///
/// - Order: the first levels that differ decide, as numbers: 1.9 < 1.10, 1.99 < 2. If one version ends first, the
///   longer one is greater, unless its further levels are all 0: 1.2, 1.2.0 and 1.2.0.0 are equal. Do not sort versions
///   with negative levels: 1 < 1.-1 and 1.-1 < 1.0, but 1 == 1.0.
/// - Threads: objects share nothing, and an object does not change.
/// - Errors: the constructor from a text throws `std::runtime_error`; `std::bad_alloc` passes.
/// - Lifetime: copies are independent. A moved-from object may only be assigned to or destroyed.
class BRINDLE_EXPORT Version {
public:
    /// Splits @p text at its dots and reads one level from each piece, as `strtol` does in base 10. Leading blanks and
    /// a sign are accepted, and what follows the digits is ignored: "1-2" is 1. A piece without digits is 0, so "1..2"
    /// is 1.0.2; with musl it is an error. A final dot adds no level, and an empty text has none.
    ///
    /// @throws std::runtime_error if a piece holds a letter (`isalpha` in the current C locale) or a number outside a
    ///         32-bit int, or if `strtol` refuses it, as musl's does without digits. The message names the text and the
    ///         first such piece, and ends with the system's text for `errno`: ERANGE for the number, EINVAL for no
    ///         digits. For a letter `errno` is 0 after an earlier piece, and the caller's own value at the first.
    ///         Reading a text that is not empty leaves `errno` 0.
    explicit Version(std::string text);

    /// Makes one level of each decimal digit of @p number: 123 is 1.2.3, and 10 is 1.0. A negative number has one
    /// level, its last digit with the sign: −15 is −5.
    explicit Version(int number);

    /// The levels, most significant first, trailing zeros included.
    std::vector<int> getVersionLevels() const;

    /// @{
    /// Compare level by level, in the order described above.
    BRINDLE_EXPORT_INLINE bool operator==(const Version& other) const { return compare(other) == 0; }
    BRINDLE_EXPORT_INLINE bool operator!=(const Version& other) const { return compare(other) != 0; }
    BRINDLE_EXPORT_INLINE bool operator<(const Version& other) const { return compare(other) < 0; }
    BRINDLE_EXPORT_INLINE bool operator>(const Version& other) const { return compare(other) > 0; }
    BRINDLE_EXPORT_INLINE bool operator<=(const Version& other) const { return compare(other) <= 0; }
    BRINDLE_EXPORT_INLINE bool operator>=(const Version& other) const { return compare(other) >= 0; }
    /// @}

private:
    friend std::ostream& operator<<(std::ostream& stream, const Version& version);

    // Negative, 0 or positive: this version is less than, equal to or greater than the other.
    int compare(const Version& other) const
    {
        const std::size_t common = std::min(levels.size(), other.levels.size());
        for (std::size_t position = 0; position < common; ++position) {
            if (levels[position] != other.levels[position]) {
                return levels[position] < other.levels[position] ? -1 : 1;
            }
        }
        return levels.size() == other.levels.size() ? 0 : compareEnds(other);
    }

    // The same result for versions that are equal up to the end of the shorter one.
    int compareEnds(const Version& other) const;

    std::vector<int> levels;
};

}
