#include "tools/ambrel/InterruptSignals.hpp"

#include <cerrno>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

InterruptSignals::InterruptSignals() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            sigaddset(&signals, signal);
        }
    }
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "watch for signals");
    }
    sigprocmask(SIG_BLOCK, &signals, &before_);
}

InterruptSignals::~InterruptSignals() {
    signalfd_siginfo information{};
    while (read(descriptor_, &information, sizeof information) > 0) {
    }
    close(descriptor_);
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

} // namespace Ambrel
