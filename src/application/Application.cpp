#include "application/ApplicationImpl.hpp"

namespace brindle {

// On alpha a store of one byte rewrites the aligned eight bytes around it, so nothing else that changes may lie there.
alignas(8) std::atomic<bool> Application::HasApplicationTerminated = false;

Application& Application::app()
{
    static Application application;
    return application;
}

Application::Application() : appImpl(ApplicationImpl::impl()) {}

Application::~Application() = default;

}
