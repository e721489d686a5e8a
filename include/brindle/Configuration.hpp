#pragma once

#include <brindle/Export.hpp>

#include <map>
#include <string>

namespace brindle {

/// Reads a file of `key=value` words and answers look-ups by key.
///
/// - Threads: no lock. getOption() and isValid() may run at once; nothing else at the same time as readCfgFile().
/// - Blocking: readCfgFile() reads the file to its end, so for a FIFO it waits for the writer.
/// - Memory: while it is read, the whole text is there beside the entries.
/// - Errors: by result; nothing is printed. `std::bad_alloc` passes, from copies too; then nothing has changed. On 32
///   bits a file of more than 1 GiB may throw `std::length_error` instead.
/// - Lifetime: the file is closed when readCfgFile() returns. Copies are deep, and to move
///   is to copy: the source stays as it was. The destructor is not virtual: do not delete a derived object through a
///   `Configuration*`.
///
/// The format is words between whitespace, as `operator>>` reads them in the global locale. A word with a `=` is
/// an entry: the key is what comes before the first `=`, the value all that follows. Other words are skipped.
///
/// - Lines mean nothing, so `interval=5 beats=3` is two entries, and CR LF line ends do no harm.
/// - Blanks around `=` break an entry up: `name = pump` is only an empty key with an empty value.
/// - There are no comments and no quotes: in `# was interval=9`, the last word is an entry like any other.
/// - Of several words with one key the last counts. Keys are case-sensitive bytes.
///
/// @code
/// Configuration configuration;
/// if (!configuration.readCfgFile("/etc/pump.conf")) {
///     std::cerr << "pump: cannot open /etc/pump.conf" << std::endl;
///     return 2;
/// }
/// std::string interval = "5";                    // stays if the file does not say
/// configuration.getOption("interval", interval);
/// @endcode
class BRINDLE_EXPORT Configuration {
public:
    /// Holds no entries and is not valid.
    Configuration();

    /// Copies the entries, and whether they are valid.
    Configuration(const Configuration&);

    /// The same; @p other may be this one.
    Configuration& operator=(const Configuration& other);

    ~Configuration();

    /// Reads the file at @p path; what it holds replaces all earlier entries.
    ///
    /// @return true when the file could be opened. False otherwise, and then every look-up fails until a later
    ///         read succeeds. A read error after the file was opened counts as its end, so a directory reads like
    ///         an empty file.
    virtual bool readCfgFile(std::string path);

    /// Writes the value of @p key to @p value.
    ///
    /// @return true when there is one. Otherwise, or if the last readCfgFile() failed, false, and @p value is left
    ///         as it was, so it may hold a default.
    bool getOption(const std::string& key, std::string& value) const;

    /// Whether the last readCfgFile() succeeded; false before the first.
    bool isValid() const;

protected:
    /// What readCfgFile() calls to do the reading. Override it for another format: fill entries at the end, when
    /// nothing can fail any more, and return true; or return false and leave entries alone.
    virtual bool parseConfig(std::string path);

    /// Of the last file read with success.
    std::map<std::string, std::string> entries;

private:
    std::string cfgFile; // its path
    bool valid = false;
};

}
