#pragma once

#include <brindle/Export.hpp>

#include <string>

namespace brindle {

/// One command-line option: its names and help text, and what the command line said about it.
///
/// The program makes one Option for each option that it understands, and passes their addresses to Application::init().
/// Application::parseArg() then fills them in. A derived class can check each value as it arrives:
///
/// @code
/// class PortOption : public Option {
/// public:
///     PortOption() : Option("port", 'p', true, "TCP port to listen on. ")
///     {
///         setDefault("8080");
///     }
///
///     int handleOption() override
///     {
///         const bool good = parsePort(argument(), port);
///         if (!good) {
///             errorText = "--port: '" + argument() + "' is not a port";
///         }
///         return good ? 0 : 1;           // becomes the result of parseArg()
///     }
///
///     int port = 8080;
/// };
/// @endcode
///
/// - Threads: no lock. parseArg() writes on the thread that calls it.
/// - Lifetime: the program owns its options and the vector that lists them. Both must exist, and the vector stay
///   unchanged, from init() to the last parseArg() or printHelp(), because the parser refers to the options' own texts.
class BRINDLE_EXPORT Option {
public:
    /// @param longName       the name typed after "--", without the dashes. If it is empty there is no long form, but
    ///                       the parser takes "--=VALUE" for the first such option.
    /// @param code           identifies the option: never 0, and different for each option. From 1 to 255 it is also
    ///                       the character typed after "-"; above 127 the parser finds it only where `char` is
    ///                       unsigned. From 256 on there is no short form.
    /// @param takesArgument  whether a value follows: joined to the letter, after "=", or as the next word.
    /// @param helpText       what Application::printHelp() shows beside the option. End it with a blank if a default
    ///                       follows.
    Option(std::string longName, int code, bool takesArgument, std::string helpText);

    /// Copies everything that was set and parsed. init() knows only the options in its list, not their copies.
    Option(const Option&) = default;
    Option& operator=(const Option&) = delete; // it would leave "was set" in doubt

    /// Application::parseArg() calls this for every occurrence on the command line, after isSet() and argument() are up
    /// to date, and returns the result: 0 to go on, 1 for a bad value. A result of −1 would look like the end of the
    /// options. The base class returns 0.
    virtual int handleOption();

    virtual ~Option();

    /// Whether the command line named the option; a default does not count.
    bool isSet() const;

    /// What a derived class found wrong; empty if nothing.
    std::string errors() const;

    /// The value of the last occurrence that had one, else the default, else empty.
    std::string argument() const;

    /// Makes @p value the argument until the command line gives one. Appends "Default: " and the value to the help
    /// text, with nothing in between.
    void setDefault(std::string value);

protected:
    /// Derived classes fill this in; the library never writes it.
    std::string errorText;

private:
    friend class Application;

    std::string argumentText;
    bool wasSet = false;
    std::string name;
    int shortOption;
    bool hasArgument;
    std::string description;
};

}
