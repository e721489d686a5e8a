#include <brindle/Application.hpp>
#include <brindle/Option.hpp>
#include <iostream>
#include <thread>
#include <vector>

int main(int argc, char** argv)
{
    brindle::Option help("help", 'h', false, "Show this help text.");
    std::vector<brindle::Option*> options = {&help};

    auto& app = brindle::Application::app();
    if (app.init(&argc, argv, &options) != 0) {
        return 1;
    }
    int parsed = 0;
    while ((parsed = app.parseArg()) == 0) {
    }
    if (parsed != -1 || help.isSet()) {
        return app.printHelp(parsed != -1);
    }
    std::thread([&app] {
        std::cout << "working" << std::endl;
        app.exit(0);
    }).detach();
    return app.runEventLoop();
}
