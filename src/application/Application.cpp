// The application object, its record, and its start.

#include "application/ApplicationImpl.hpp"
#include "application/ForkHandlers.hpp"
#include "application/PrintError.hpp"
#include "threads/WaiterQueue.hpp"

#include <apr_errno.h>
#include <csignal>
#include <cstdlib>
#include <unistd.h>

namespace brindle {

// On alpha a store of one byte rewrites the aligned eight bytes around it. The handler stores, so nothing may lie there
// that another thread changes then: recordGate and processIsBeingEnded have the same alignment, so they lie elsewhere.
alignas(8) std::atomic<bool> Application::HasApplicationTerminated = false;

Application& Application::app()
{
    static Application application;
    return application;
}

Application::Application() : appImpl(ApplicationImpl::impl()) {}

Application::~Application() = default;

void Application::setForeword(const std::string& text)
{
    foreword = text;
}

void Application::setAfterword(const std::string& text)
{
    afterword = text;
}

Application::ApplicationImpl& Application::ApplicationImpl::impl()
{
    static ApplicationImpl instance;
    return instance;
}

Application::ApplicationImpl::ApplicationImpl()
{
    mutex.reset(new pthread_mutex_t);
    condVar.reset(new threads::CondVar);
    threads::WaiterQueue::reserve(*condVar, 1); // or the event loop would allocate with the mutex held
}

void Application::ApplicationImpl::cleanApr()
{
    apr_terminate();
}

namespace {

apr_status_t startApr(int* argumentCount, const char* const* arguments, apr_pool_t** pool)
{
    const char* const* environment = environ;
    const apr_status_t status = apr_app_initialize(argumentCount, &arguments, &environment);
    return status == APR_SUCCESS ? apr_pool_create_ex(pool, nullptr, nullptr, nullptr) : status;
}

int reportFailedStart(apr_status_t status)
{
    char text[80];
    printError("Error when initializing application. ", apr_strerror(status, text, sizeof text));
    return status;
}

int start(Application::ApplicationImpl& record, int* argumentCount, char** arguments, std::vector<Option*>* options)
{
    apr_status_t status = startApr(argumentCount, arguments, &record.pool);
    if (status != APR_SUCCESS) {
        return reportFailedStart(status);
    }
    pthread_mutex_init(record.mutex.get(), nullptr);
    if (options != nullptr) {
        status = record.prepareParser(*argumentCount, arguments, *options);
        if (status != APR_SUCCESS) {
            return reportFailedStart(status);
        }
    }
    const int notRegistered = std::atexit(Application::ApplicationImpl::cleanApr);
    if (notRegistered != 0) {
        apr_terminate();
        printError("INTERNAL ERROR! Unable to register APR cleaning operations.");
        return notRegistered;
    }
    registerForkHandlers();
    std::signal(SIGINT, Application::ApplicationImpl::application_exit_signal);
    std::signal(SIGTERM, Application::ApplicationImpl::application_exit_signal);
    return 0;
}

}

int Application::init(int* argumentCount, char** arguments, std::vector<Option*>* options)
{
    argc = argumentCount;
    argv = arguments;
    appImpl.forgetParser(); // of an earlier init()
    const int result = start(appImpl, argumentCount, arguments, options);
    if (result != 0) {
        appImpl.getoptState = nullptr; // its pool may be gone
    }
    return result;
}

}
