#pragma once

#include <brindle/Export.hpp>

#include <map>
#include <string>

namespace brindle {

/// Reads a file of `key=value` words and looks values up by key.
///
/// @code
/// Configuration configuration;
/// if (!configuration.readCfgFile("/etc/pump.conf")) {
///     std::cerr << "pump: cannot open /etc/pump.conf" << std::endl;
///     return 2;
/// }
/// std::string interval = "5";                    // stays if the file has no such entry
/// configuration.getOption("interval", interval);
/// @endcode
///
/// - Format: words between whitespace. A word with a `=` is an entry, and its key ends at the first `=`; other words
///   are skipped. Lines, quotes and `#` mean nothing. The last entry of a key counts. docs/guides/configuration.md has
///   examples of each rule.
/// - Threads: no lock. getOption() and isValid() may run at once; nothing else may run at the same time as
///   readCfgFile().
/// - Blocking: readCfgFile() reads the file to its end, so for a FIFO it waits for the writer.
/// - Errors: by result; nothing is printed. A `std::bad_alloc`, also from a copy, changes nothing. On 32 bits a file of
///   more than 1 GiB may throw `std::length_error` instead.
/// - Memory: while readCfgFile() runs, the whole text of the file is in memory beside the entries.
/// - Lifetime: the file is closed when readCfgFile() returns. Copies are deep, and a move is a copy. The destructor is
///   not virtual: do not delete a derived object through a `Configuration*`.
class BRINDLE_EXPORT Configuration {
public:
    /// Makes an object without entries that is not valid.
    Configuration();

    /// Copies the entries and whether they are valid.
    Configuration(const Configuration&);

    /// The same; @p other may be this one.
    Configuration& operator=(const Configuration& other);

    ~Configuration();

    /// Replaces all entries by those of the file at @p path.
    ///
    /// @return true if the file could be opened. If not, false, and every look-up fails until a later read succeeds. A
    ///         read error counts as the end of the file, so a directory reads like an empty file.
    virtual bool readCfgFile(std::string path);

    /// Writes the value of @p key to @p value.
    ///
    /// @return true if there is one. False if there is none, or if the last readCfgFile() failed; @p value is unchanged
    ///         then, so it may hold a default.
    bool getOption(const std::string& key, std::string& value) const;

    /// Whether the last readCfgFile() succeeded; false before the first one.
    bool isValid() const;

protected:
    /// Does the reading for readCfgFile(). An override for another format returns true after it has filled entries, at
    /// the end, when nothing can fail any more; or it returns false and leaves entries unchanged.
    virtual bool parseConfig(std::string path);

    /// The entries of the last file that was read successfully.
    std::map<std::string, std::string> entries;

private:
    std::string cfgFile; // its path
    bool valid = false;
};

}
