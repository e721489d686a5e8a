#pragma once

#include <brindle/Export.hpp>

#include <string>

namespace brindle {

/// One command-line option: what it is called, and what the command line said about it.
///
/// The program makes one Option per option that it understands, lists their addresses in a
/// `std::vector<Option*>` and hands that to Application::init(). Application::parseArg() then fills them in.
///
/// - Threads: no lock; parseArg() writes on the thread that calls it.
/// - Lifetime: the program owns its options and the vector. Both stay alive, and the vector unchanged, from
///   init() to the last parseArg() or printHelp(): the parser's table points into the options' own texts.
///
/// A derived class checks a value as it arrives:
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
class BRINDLE_EXPORT Option {
public:
    /// @param longName       the name typed after "--", without it. Empty: no long form, but the
    ///                       parser takes "--=VALUE" for the first such option.
    /// @param code           what parsing tells options apart by, so each needs its own; never 0. From 1 to 255
    ///                       it is also the character typed after "-" (above 127 the parser finds it only where
    ///                       `char` is unsigned). From 256 up there is no short form.
    /// @param takesArgument  whether a value follows: joined to the letter, after "=", or as the next word.
    /// @param helpText       what Application::printHelp() shows beside the option. End it with a blank if a
    ///                       default is to follow.
    Option(std::string longName, int code, bool takesArgument, std::string helpText);

    /// A copy has all that was set and parsed; init() knows only the options in its list.
    Option(const Option&) = default;
    Option& operator=(const Option&) = delete; // it would leave "was set" in doubt

    /// Called by Application::parseArg() for every occurrence on the command line, after isSet() and
    /// argument() have been brought up to date. The result becomes that of parseArg(): 0 to go on, 1 for a
    /// bad value; −1 would read as the end of the options. The base class returns 0.
    virtual int handleOption();

    virtual ~Option();

    /// Whether the command line named the option; a default does not count.
    bool isSet() const;

    /// What a derived class found wrong; empty when nothing was.
    std::string errors() const;

    /// The value of the last occurrence that carried one, else the default, else empty.
    std::string argument() const;

    /// Makes @p value the argument until the command line gives one, and appends "Default: " and the value to
    /// the help text as it stands, with nothing in between.
    void setDefault(std::string value);

protected:
    /// For derived classes to fill; the library never writes it.
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
