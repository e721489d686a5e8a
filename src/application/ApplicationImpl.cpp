#include "application/ApplicationImpl.hpp"

#include "application/LoopQueue.hpp"
#include "application/RecordGate.hpp"
#include "application/TerminationSignals.hpp"

#include <brindle/Option.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <unistd.h>

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

Application::ApplicationImpl::~ApplicationImpl()
{
    recordGate.close();
    while (isInUse()) {
        // A sleep, not a yield: a real-time thread that yields still keeps lower ones off the processor. If a signal
        // cuts it short, the next look comes earlier.
        usleep(1000);
    }
    delete[] optionTable;
    mutex.clean();
    condVar.clean();
}

// A loop that sleeps in its wait is inside the gate but uses nothing: it touches the record again only when
// it is released, and once the gate is closed and everybody else has left, nobody can release it.
bool Application::ApplicationImpl::isInUse() const
{
    if (recordGate.inside() == 0) {
        return false; // nor is there always a mutex to lock: init() may never have been called
    }
    const TerminationSignalsBlocked blocked;
    const threads::ScopedLock lock(mutex.get());
    return recordGate.inside() != LoopQueue::waiting(*condVar);
}

void Application::ApplicationImpl::cleanApr()
{
    apr_terminate();
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
