#pragma once

#include <brindle/Export.hpp>

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace brindle::utility {

class BRINDLE_EXPORT Version;

/// Writes the levels with dots between, each as the stream writes an int: with its flags and the digit grouping of
/// its locale; a field width is spent on the first level. A version without levels writes nothing.
BRINDLE_EXPORT std::ostream& operator<<(std::ostream& stream, const Version& version);

/// A dotted version number such as 1.10.2: read from a text, compared level by level, written to a stream.
///
/// - Threads: nothing is shared between objects, and nothing changes in one.
/// - Errors: the constructor from a text throws `std::runtime_error`; `std::bad_alloc` passes.
/// - Lifetime: copies are independent. One that was moved from may be assigned to or destroyed, and nothing else.
///
/// Trailing zero levels do not count in comparisons: 1.2, 1.2.0 and 1.2.0.0 are equal. Otherwise the first levels
/// that differ decide, as numbers: 1.9 < 1.10, 1.99 < 2. If one version ends first, the longer one is greater
/// unless it goes on with zeros only. With negative levels this is no order to sort by: 1 < 1.-1, 1.-1 < 1.0,
/// and yet 1 == 1.0.
///
/// @code
/// const Version found(reportedByDevice);         // "1.10.2"
/// if (found < Version("1.9")) {
///     std::cerr << "firmware " << found << " is too old" << std::endl;
/// }
/// @endcode
class BRINDLE_EXPORT Version {
public:
    /// Reads @p text, cut at its dots, one level per piece. A final dot adds no level, and an empty text has none.
    ///
    /// A piece is read as `strtol` reads base 10: leading blanks and a sign are taken, whatever follows the digits
    /// is not looked at ("1-2" is 1), and without digits the level is 0 ("1..2" is 1.0.2), but with musl an error.
    ///
    /// @throws std::runtime_error naming the text and its first piece that holds a letter (`isalpha` in the
    ///         current C locale) or a number beyond a 32-bit int, or that `strtol` refuses, as musl's does one without
    ///         digits. The message ends with the system's words for `errno`: ERANGE for the number, EINVAL for no digits;
    ///         for the letter what `errno` was by then, which is 0 after an earlier piece and the caller's own value at
    ///         the first. A text that is read, unless empty, leaves `errno` 0.
    explicit Version(std::string text);

    /// The decimal digits of @p number, one level each: 123 is 1.2.3 and 10 is 1.0. A negative number has one
    /// level, its last digit with the sign: −15 is −5.
    explicit Version(int number);

    /// The levels, most significant first, trailing zeros included.
    std::vector<int> getVersionLevels() const;

    /// @{
    /// Level by level, as the class says.
    BRINDLE_EXPORT_INLINE bool operator==(const Version& other) const { return compare(other) == 0; }
    BRINDLE_EXPORT_INLINE bool operator!=(const Version& other) const { return compare(other) != 0; }
    BRINDLE_EXPORT_INLINE bool operator<(const Version& other) const { return compare(other) < 0; }
    BRINDLE_EXPORT_INLINE bool operator>(const Version& other) const { return compare(other) > 0; }
    BRINDLE_EXPORT_INLINE bool operator<=(const Version& other) const { return compare(other) <= 0; }
    BRINDLE_EXPORT_INLINE bool operator>=(const Version& other) const { return compare(other) >= 0; }
    /// @}

private:
    friend std::ostream& operator<<(std::ostream& stream, const Version& version);

    // Below, at or above 0 as this version is less than, equal to or greater than the other.
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

    // The same, where the versions are equal up to the end of the shorter one.
    int compareEnds(const Version& other) const;

    std::vector<int> levels;
};

}
