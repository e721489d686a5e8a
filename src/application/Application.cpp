#include "application/ApplicationImpl.hpp"

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

}
