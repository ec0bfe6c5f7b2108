#include "tools/ambrel/Process/HeldSignals.hpp"

namespace Ambrel {

HeldSignals::HeldSignals(int change) {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int signal : interruptions) {
        sigaddset(&signals, signal);
    }
    sigprocmask(change, &signals, &before_);
}

HeldSignals::~HeldSignals() {
    if (!holdsOn_) {
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
}

} // namespace Ambrel
