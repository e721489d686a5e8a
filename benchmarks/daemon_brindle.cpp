#include <brindle/Application.hpp>
#include <brindle/Configuration.hpp>
#include <brindle/Option.hpp>
#include <brindle/time/Timer.hpp>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

using brindle::Application;
using brindle::Option;

int main(int argc, char** argv)
{
    Option config("config", 'c', true, "Read FILE.");
    Option wait("wait", 'w', false, "Wait for a signal.");
    std::vector<Option*> options = {&config, &wait};
    if (Application::app().init(&argc, argv, &options) != 0) {
        return EXIT_FAILURE;
    }
    while (Application::app().parseArg() == 0) {
    }
    brindle::Configuration configuration;
    std::string interval;
    if (!configuration.readCfgFile(config.argument()) || !configuration.getOption("interval", interval)) {
        return EXIT_FAILURE;
    }
    brindle::time::Timer timer(1);
    timer.start();
    if (!wait.isSet()) {
        std::thread([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            Application::app().exit(0);
        }).detach();
    }
    return Application::app().runEventLoop();
}
