// heartbeat: prints a beat in each interval until the last one, or until an exit request.

#include "Heartbeat.hpp"
#include "Service.hpp"
#include "Setting.hpp"
#include "Signals.hpp"
#include "UserInput.hpp"

#include <brindle/Application.hpp>
#include <brindle/utility/SystemException.hpp>
#include <brindle/utility/Uuid.hpp>
#include <brindle/utility/Version.hpp>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

using brindle::Application;
using brindle::Option;
using brindle::utility::generateUuid;
using brindle::utility::SystemException;
using brindle::utility::Version;

const char service::NAME[] = "heartbeat";

namespace {

const std::vector<std::string> VALUED = {"-c", "--config", "-m", "--name", "-n", "--beats", "-i", "--interval"};

/// Prints the errors of the options. The parser has printed its errors already.
int refuse(const std::vector<Option*>& options)
{
    for (const Option* option : options) {
        if (!option->errors().empty()) {
            service::complain(option->errors());
        }
    }
    return Application::app().printHelp(true);
}

/// Takes the settings from the file that the command line names, otherwise from the default file if it exists.
/// Throws std::invalid_argument.
void readFile(const Option& config, const std::vector<Setting*>& settings)
{
    std::string path = config.argument();
    if (!config.isSet()) {
        if (Application::app().appPath().empty()) { // which has printed the reason
            throw std::invalid_argument("the usual settings are found by that path; name a file with --config");
        }
        path = Application::app().appPrefix("bin") + "etc/heartbeat.conf";
    }
    const userinput::SettingsFile file(path, {"interval", "name", "beats"}, config.isSet());
    for (Setting* setting : settings) {
        if (!setting->takeFrom(file)) {
            throw std::invalid_argument("'" + path + "': " + setting->errors());
        }
    }
}

int run(const std::string& name, int seconds, int beats)
{
    static Heartbeat& heartbeat = *new Heartbeat(name, seconds, beats);
    heartbeat.say("run " + generateUuid());
    if (heartbeat.start() != 0) {
        throw SystemException("start the timer", errno);
    }
    signals::endLoop();
    const int exitCode = Application::app().runEventLoop();
    heartbeat.stop();
    if (exitCode > EXIT_FAILURE) { // the status of a signal
        heartbeat.say("told to stop");
    }
    return exitCode;
}

}

int main(int argc, char** argv)
try {
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is a failed write, whichever thread writes

    Option help("help", 'h', false, "Show this help text.");
    Option version("version", 'V', false, "Show the version.");
    Option config("config", 'c', true, "Read what is not set here from FILE, as words such as beats=3.");
    Setting name("name", 'm', "Speak as NAME", "heartbeat");
    NumberSetting beats("beats", 'n', "Stop after N beats", 1, 1'000'000, 5);
    NumberSetting interval("interval", 'i', "Wait SECONDS for each beat", 1, 3600, 1);
    std::vector<Option*> options = {&help, &version, &config, &name, &beats, &interval};

    Application& app = Application::app();
    app.setForeword("[options]");
    app.setAfterword("Ends with status 0 after the last beat, 132 after Ctrl-C, 145 after SIGTERM.");
    signals::hold();
    if (app.init(&argc, argv, &options) != 0) {
        return EXIT_FAILURE; // init() has said why
    }
    signals::endProgram();

    int parsed = 0;
    while (parsed == 0) {
        parsed = app.parseArg();
    }
    if (parsed != -1) {
        return refuse(options);
    }
    const std::string word = userinput::firstWord(argc, argv, VALUED);
    if (!word.empty()) {
        throw std::invalid_argument("'" + word + "' is no option; see --help");
    }
    if (help.isSet()) {
        const int status = app.printHelp(false);
        service::checkOutput();
        return status;
    }
    if (version.isSet()) {
        std::cout << "heartbeat " << Version("1.0.0") << std::endl;
        service::checkOutput();
        return EXIT_SUCCESS;
    }
    readFile(config, {&name, &beats, &interval});
    return run(name.value(), interval.number(), beats.number());
} catch (const std::invalid_argument& mistake) {
    service::complain(mistake.what());
    return 2;
} catch (const std::exception& failure) {
    service::complain(failure.what());
    return EXIT_FAILURE;
}
