#pragma once

#include "application/RecordLock.hpp"

#include <brindle/Application.hpp>
#include <brindle/UniquePtr.hpp>
#include <brindle/threads/CondVar.hpp>

#include <apr_general.h>
#include <apr_getopt.h>
#include <pthread.h>

namespace brindle {

/// The application's one record: what start-up makes, and what exit requests and the event loop share.
///
/// - Threads: exitCode and condVar are used only with the mutex held, which clang checks; the rest is used by the
///   thread
/// that calls init(). A thread locks the mutex only inside the recordGate and with all asynchronous signals blocked,
/// and
///   while it holds the mutex it waits for nothing else: the handler may have interrupted a thread inside malloc.
/// - Lifetime: built by the first impl(), destroyed at process exit.
class Application::ApplicationImpl {
public:
    static ApplicationImpl& impl();

    /// The exit handler that init() registers: ends the use of APR.
    static void cleanApr();

    /// One exit request. True if it released the loop, or if the record is gone and no loop can be released.
    BRINDLE_INTERNAL static bool tryExit(int code);

    /// The handler of SIGINT and SIGTERM: one exit request with the signal's number plus 130.
    static void application_exit_signal(int signum);

    ApplicationImpl(const ApplicationImpl&) = delete;
    ApplicationImpl& operator=(const ApplicationImpl&) = delete;
    ~ApplicationImpl();

    /// Releases the option table and forgets the parser.
    BRINDLE_INTERNAL void forgetParser();

    /// Makes the option table and the parser.
    BRINDLE_INTERNAL apr_status_t prepareParser(int count, char** words, std::vector<Option*>& options);

    apr_pool_t* pool = nullptr;                 // owned by APR until apr_terminate()
    apr_getopt_t* getoptState = nullptr;        // in the pool
    apr_getopt_option_t* optionTable = nullptr; // owned
    std::vector<Option*>* optionList = nullptr; // owned by the program
    UniquePtr<threads::CondVar> condVar BRINDLE_CHECKED_BY_CLANG(guarded_by(applicationMutex));
    UniquePtr<pthread_mutex_t> mutex;
    int exitCode BRINDLE_CHECKED_BY_CLANG(guarded_by(applicationMutex)) = 0;

private:
    ApplicationImpl();

    BRINDLE_INTERNAL static void requestExitForSignal(int signum);
    BRINDLE_INTERNAL bool isInUse() const;
};

}
