// heartbeat: prints a beat per interval until the last one, or until it is told to stop.

#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

using brindle::Application;
using brindle::Option;

namespace {

/// An option whose argument is a whole number within bounds.
class NumberOption : public Option {
public:
    NumberOption(const std::string& longName, int code, const std::string& meaning, int least, int most, int preset)
        : Option(longName, code, true, meaning + ", " + range(least, most) + ". "), number(preset), lowest(least),
          highest(most), label("--" + longName)
    {
        setDefault(std::to_string(preset));
    }

    int handleOption() override
    {
        const std::string text = argument();
        const char* const end = text.data() + text.size();
        const auto parsed = std::from_chars(text.data(), end, number);
        if (parsed.ec == std::errc() && parsed.ptr == end && number >= lowest && number <= highest) {
            return 0;
        }
        errorText = label + ": '" + text + "' is not a whole number from " + range(lowest, highest);
        return 1;
    }

    int value() const { return number; }

private:
    static std::string range(int least, int most) { return std::to_string(least) + " to " + std::to_string(most); }

    int number;
    const int lowest;
    const int highest;
    const std::string label;
};

void beat(int beats, std::chrono::milliseconds interval)
{
    bool stopMissed = false;
    for (int number = 1; number <= beats && !stopMissed; ++number) {
        // Set, and still here an interval later: the signal came before the loop waited, so it ended nothing.
        stopMissed = Application::HasApplicationTerminated;
        std::this_thread::sleep_for(interval);
        if (!stopMissed) {
            std::cout << "beat " + std::to_string(number) + "\n" << std::flush;
        }
    }
    Application::app().exit(stopMissed ? EXIT_FAILURE : EXIT_SUCCESS);
}

/// Says what the options found wrong; what the parser found wrong it has said itself.
int refuse(const std::vector<Option*>& options)
{
    for (const Option* option : options) {
        if (!option->errors().empty()) {
            std::cerr << "heartbeat: " << option->errors() << std::endl;
        }
    }
    return Application::app().printHelp(true);
}

}

int main(int argc, char** argv)
{
    Option help("help", 'h', false, "Show this help text.");
    Option version("version", 'V', false, "Show the version.");
    NumberOption beats("beats", 'n', "Stop after N beats", 1, 1'000'000, 5);
    NumberOption interval("interval", 'i', "Wait MS milliseconds for each beat", 1, 3'600'000, 1000);
    std::vector<Option*> options = {&help, &version, &beats, &interval};

    Application& app = Application::app();
    app.setForeword("[options]");
    app.setAfterword("Ends with status 0 after the last beat, 132 after Ctrl-C, 145 after SIGTERM.");
    if (app.init(&argc, argv, &options) != 0) {
        return EXIT_FAILURE; // init() has said why
    }

    int parsed = 0;
    while (parsed == 0) {
        parsed = app.parseArg();
    }
    if (parsed != -1) {
        return refuse(options);
    }
    if (help.isSet()) {
        return app.printHelp(false);
    }
    if (version.isSet()) {
        std::cout << "heartbeat " << HEARTBEAT_VERSION << std::endl;
        return EXIT_SUCCESS;
    }

    // Not joined: it may be inside exit(), which returns only when a loop takes its request or the process ends.
    std::thread(beat, beats.value(), std::chrono::milliseconds(interval.value())).detach();
    const int exitCode = app.runEventLoop();
    if (exitCode != EXIT_SUCCESS) {
        std::cout << "heartbeat: told to stop" << std::endl;
    }
    return exitCode;
}
