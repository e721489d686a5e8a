#include "application/ApplicationImpl.hpp"
#include "application/Diagnostics.hpp"
#include "application/ForkHandlers.hpp"

#include <apr_errno.h>
#include <csignal>
#include <cstdlib>
#include <unistd.h>

namespace brindle {

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

}

int Application::init(int* argumentCount, char** arguments, std::vector<Option*>* options)
{
    argc = argumentCount;
    argv = arguments;
    apr_status_t status = startApr(argc, argv, &appImpl.pool);
    if (status != APR_SUCCESS) {
        return reportFailedStart(status);
    }
    pthread_mutex_init(appImpl.mutex.get(), nullptr);
    if (options != nullptr) {
        status = appImpl.prepareParser(*argc, argv, *options);
        if (status != APR_SUCCESS) {
            return reportFailedStart(status);
        }
    }
    const int notRegistered = std::atexit(ApplicationImpl::cleanApr);
    if (notRegistered != 0) {
        apr_terminate();
        printError("INTERNAL ERROR! Unable to register APR cleaning operations.");
        return notRegistered;
    }
    registerForkHandlers();
    std::signal(SIGINT, ApplicationImpl::application_exit_signal);
    std::signal(SIGTERM, ApplicationImpl::application_exit_signal);
    return 0;
}

}
