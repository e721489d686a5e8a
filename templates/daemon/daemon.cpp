// @NAME@: a timer gives a worker a job in each interval, until a signal or a failure ends the program.

#include "Service.hpp"
#include "Signals.hpp"
#include "UserInput.hpp"

#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

using brindle::Application;
using brindle::Option;

const char service::NAME[] = "@NAME@";

namespace {

/// Your work goes here. An exception ends the daemon with status 1. The end of the program does not wait for a running
/// job. So write a file that must be complete under a temporary name, and then rename it.
void work(unsigned long job)
{
    service::say("job " + std::to_string(job) + " done");
}

/// The options of the command line. VALUED lists those that take a value.
struct Options {
    Option help{"help", 'h', false, "Show this help text."};
    Option version{"version", 'V', false, "Show the version."};
    Option syslog{"syslog", 's', false, "Say everything to syslog."};
    Option config{"config", 'c', true, "Read what is not set here from FILE. "};
    Option interval{"interval", 'i', true, "Work every SECONDS, 1 to 86400. "};
    std::vector<Option*> list = {&help, &version, &syslog, &config, &interval};
};
const std::vector<std::string> VALUED = {"-c", "--config", "-i", "--interval"};

int secondsIn(const std::string& text, const std::string& where)
{
    return userinput::wholeNumber(text, 1, 86400, where);
}

/// Reads the file, and returns the interval: from the command line, otherwise from the file, otherwise the default.
int interval(const Options& options)
{
    const std::string path = options.config.argument();
    const userinput::SettingsFile file(path, {"interval"}, options.config.isSet());
    std::string seconds = options.interval.argument();
    if (options.interval.isSet() || !file.getOption("interval", seconds)) {
        return secondsIn(seconds, "--interval");
    }
    return secondsIn(seconds, "'" + path + "': interval");
}

Options* options = nullptr;
service::Jobs* jobs = nullptr;

/// Runs after SIGHUP on the worker's thread. After an error in the file the old settings stay.
void reload()
{
    jobs->setPeriod(interval(*options));
    service::say("a job every " + std::to_string(jobs->duration()) + " s");
}

}

int main(int argc, char** argv)
try {
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is a failed write, whichever thread writes
    options = new Options;         // never destroyed, because a reload may run at the end
    options->config.setDefault(DAEMON_FILE);
    options->interval.setDefault("5");

    Application& app = Application::app();
    app.setForeword("[options]");
    app.setAfterword("Ends with status 145 after SIGTERM, 132 after SIGINT, 1 after a failure, 2 after a mistake.");
    signals::hold();
    if (app.init(&argc, argv, &options->list) != 0) {
        return 1; // init() has said why
    }
    signals::endProgram([] { jobs->requestReload(); });
    int parsed = 0;
    while (parsed == 0) {
        parsed = app.parseArg();
    }
    if (parsed != -1) {
        return app.printHelp(true); // the parser has printed the error
    }
    const std::string word = userinput::firstWord(argc, argv, VALUED);
    if (!word.empty()) {
        throw std::invalid_argument("'" + word + "' is no option; see --help");
    }
    secondsIn(options->interval.argument(), "--interval");
    if (options->help.isSet()) {
        const int status = app.printHelp(false);
        service::checkOutput();
        return status;
    }
    if (options->version.isSet()) {
        service::say("@NAME@ " DAEMON_VERSION);
        return 0;
    }
    if (options->syslog.isSet()) {
        service::useSyslog();
    }
    jobs = new service::Jobs(interval(*options), work, reload);
    service::say("a job every " + std::to_string(jobs->duration()) + " s");
    jobs->begin();
    return service::runLoop();
} catch (const std::invalid_argument& mistake) {
    service::complain(mistake.what());
    return 2;
} catch (const std::exception& failure) {
    service::complain(failure.what());
    return 1;
}
