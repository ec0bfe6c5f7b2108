#ifndef AMBRELKIT_LINUX_LIFECYCLE_LINUXAPPLICATION_HPP
#define AMBRELKIT_LINUX_LIFECYCLE_LINUXAPPLICATION_HPP

#include "AmbrelKit/Platform/Application.hpp"

namespace AmbrelKit::Linux {

/// An application object beside the thread's `Application::shared()`. A task ends with the object
/// that began it at the latest, so what a kit leaves open when it is released goes with it.
std::shared_ptr<Application> makeApplication();

} // namespace AmbrelKit::Linux

#endif
