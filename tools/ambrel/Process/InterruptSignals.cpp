#include "tools/ambrel/Process/InterruptSignals.hpp"

#include <cerrno>
#include <csignal>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

namespace {

/// Whether the process was started to ignore it, as by nohup(1).
bool isIgnored(int signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

} // namespace

InterruptSignals::InterruptSignals() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int signal : interruptions) {
        if (!isIgnored(signal)) {
            sigaddset(&signals, signal);
        }
    }
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "watch for signals");
    }
}

InterruptSignals::~InterruptSignals() { close(descriptor_); }

std::optional<int> InterruptSignals::take() {
    signalfd_siginfo information{};
    if (read(descriptor_, &information, sizeof information) != sizeof information) {
        return std::nullopt;
    }
    held_.holdOn();
    return static_cast<int>(information.ssi_signo);
}

} // namespace Ambrel
