// heartbeat: says a beat per interval until the last one, or until it is told to stop.

#include "Heartbeat.hpp"
#include "Setting.hpp"
#include "Signals.hpp"

#include <brindle/Application.hpp>
#include <brindle/Configuration.hpp>
#include <brindle/utility/SystemException.hpp>
#include <brindle/utility/Uuid.hpp>
#include <brindle/utility/Version.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

using brindle::Application;
using brindle::Configuration;
using brindle::Option;
using brindle::utility::generateUuid;
using brindle::utility::SystemException;
using brindle::utility::Version;

namespace {

constexpr int USAGE = 2; // the status after a mistake in what the user gave

void complain(const std::string& what)
{
    std::cerr << "heartbeat: " << what << std::endl;
}

/// Says what the options found wrong; what the parser found wrong it has said itself.
int refuse(const std::vector<Option*>& options)
{
    for (const Option* option : options) {
        if (!option->errors().empty()) {
            complain(option->errors());
        }
    }
    return Application::app().printHelp(true);
}

/// The file that the command line names, else the usual one if it is there.
std::optional<std::string> configurationFile(const Option& config)
{
    if (config.isSet()) {
        return config.argument();
    }
    const std::string usual = Application::app().appPrefix("bin") + "etc/heartbeat.conf";
    std::error_code none;
    return std::filesystem::exists(usual, none) ? std::optional<std::string>(usual) : std::nullopt;
}

bool readFile(const std::string& path, const std::vector<Setting*>& settings)
{
    Configuration file;
    std::error_code none;
    if (std::filesystem::is_directory(path, none) || !file.readCfgFile(path)) {
        complain("'" + path + "' is not a configuration file that can be read");
        return false;
    }
    bool good = true;
    for (Setting* setting : settings) {
        if (!setting->takeFrom(file)) {
            complain(path + ": " + setting->errors());
            good = false;
        }
    }
    return good;
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
    if (exitCode > EXIT_FAILURE) { // a signal's
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
    if (help.isSet()) {
        return app.printHelp(false);
    }
    if (version.isSet()) {
        std::cout << "heartbeat " << Version(HEARTBEAT_VERSION) << std::endl;
        if (!std::cout || std::ferror(stdout) != 0) { // on uClibc-ng the stream stays good
            throw SystemException("write to standard output", errno);
        }
        return EXIT_SUCCESS;
    }
    const std::optional<std::string> file = configurationFile(config);
    if (file && !readFile(*file, {&name, &beats, &interval})) {
        return USAGE;
    }
    return run(name.value(), interval.number(), beats.number());
} catch (const std::exception& failure) {
    complain(failure.what());
    return EXIT_FAILURE;
}
