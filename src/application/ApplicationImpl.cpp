#include "application/ApplicationImpl.hpp"

#include "application/LoopQueue.hpp"

#include <brindle/Option.hpp>

namespace brindle {

Application::ApplicationImpl& Application::ApplicationImpl::impl()
{
    static ApplicationImpl instance;
    return instance;
}

Application::ApplicationImpl::ApplicationImpl()
{
    mutex.reset(new pthread_mutex_t);
    condVar.reset(new threads::CondVar);
    LoopQueue::makeRoom(*condVar); // or the event loop would allocate with the mutex held
}

void Application::ApplicationImpl::cleanApr()
{
    apr_terminate();
}

void Application::ApplicationImpl::forgetParser()
{
    getoptState = nullptr;
    optionList = nullptr;
    delete[] optionTable;
    optionTable = nullptr;
}

apr_status_t Application::ApplicationImpl::prepareParser(int count, char** words, std::vector<Option*>& options)
{
    optionList = &options;
    optionTable = new apr_getopt_option_t[options.size() + 1];
    apr_getopt_option_t* row = optionTable;
    for (const Option* option : options) {
        *row++ = {option->name.c_str(), option->shortOption, option->hasArgument ? 1 : 0, option->description.c_str()};
    }
    *row = {"", 0, 0, ""};
    return apr_getopt_init(&getoptState, pool, count, words);
}

}
