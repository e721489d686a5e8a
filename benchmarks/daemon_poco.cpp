#include <Poco/AutoPtr.h>
#include <Poco/Timer.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionSet.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#include <Poco/Util/ServerApplication.h>
#include <chrono>
#include <csignal>
#include <iostream> // which the macro below forgets
#include <string>
#include <thread>
#include <vector>

namespace {

class Daemon : public Poco::Util::ServerApplication {
protected:
    void defineOptions(Poco::Util::OptionSet& options) override
    {
        ServerApplication::defineOptions(options);
        options.addOption(Poco::Util::Option("config", "c").argument("FILE"));
        options.addOption(Poco::Util::Option("wait", "w"));
    }

    void handleOption(const std::string& name, const std::string& value) override
    {
        waits |= name == "wait";
        if (name == "config") {
            file = value;
        }
    }

    int main(const std::vector<std::string>&) override
    {
        const Poco::AutoPtr<Poco::Util::PropertyFileConfiguration> configuration(
            new Poco::Util::PropertyFileConfiguration(file));
        if (!configuration->has("interval")) {
            return EXIT_SOFTWARE;
        }
        sigset_t ends; // a request that came before the wait would kill the process
        sigemptyset(&ends);
        sigaddset(&ends, SIGINT);
        pthread_sigmask(SIG_BLOCK, &ends, nullptr);
        Poco::Timer timer(1000, 1000);
        timer.start(Poco::TimerCallback<Daemon>(*this, &Daemon::onTimer));
        std::thread worker;
        if (!waits) {
            worker = std::thread([] {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                terminate();
            });
        }
        waitForTerminationRequest();
        if (worker.joinable()) {
            worker.join();
        }
        timer.stop();
        return EXIT_OK;
    }

private:
    void onTimer(Poco::Timer&) {}

    bool waits = false;
    std::string file;
};

}

POCO_SERVER_MAIN(Daemon)
