#include "tools/ambrel/HeldSignals.hpp"

namespace Ambrel {

HeldSignals::HeldSignals() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int signal : interruptions) {
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, &before_);
}

HeldSignals::~HeldSignals() {
    if (!holdsOn_) {
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
}

} // namespace Ambrel
