#include "application/ApplicationImpl.hpp"

namespace brindle {

std::atomic<int> Application::HasApplicationTerminated = 0;

Application& Application::app()
{
    static Application application;
    return application;
}

Application::Application() : appImpl(ApplicationImpl::impl()) {}

Application::~Application() = default;

}
