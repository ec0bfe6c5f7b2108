#include "tools/ambrel/Process/InterruptSignals.hpp"

#include <csignal>

namespace Ambrel {

namespace {

/// Whether the process was started to ignore it, as by nohup(1).
bool isIgnored(int signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

sigset_t awaited() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int signal : interruptions) {
        if (!isIgnored(signal)) {
            sigaddset(&signals, signal);
        }
    }
    return signals;
}

} // namespace

InterruptSignals::InterruptSignals() : descriptor_(awaited()) {}

std::optional<int> InterruptSignals::take() {
    const auto signal = descriptor_.take();
    if (signal) {
        held_.holdOn();
    }
    return signal;
}

} // namespace Ambrel
