#include "tools/ambrel/InterruptSignals.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

namespace {

constexpr std::array interrupts{SIGINT, SIGTERM};

/// Whether the process was started to ignore it, as by nohup(1).
bool isIgnored(int signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

volatile std::sig_atomic_t exitStatus = 0;

} // namespace

InterruptSignals::InterruptSignals() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int signal : interrupts) {
        if (!isIgnored(signal)) {
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

void exitOnInterrupt(int status) {
    exitStatus = status;
    for (const int signal : interrupts) {
        if (!isIgnored(signal)) {
            std::signal(signal, [](int) { _exit(exitStatus); });
        }
    }
}

} // namespace Ambrel
