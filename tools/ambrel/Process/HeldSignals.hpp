#ifndef AMBREL_HELDSIGNALS_HPP
#define AMBREL_HELDSIGNALS_HPP

#include <array>
#include <csignal>

namespace Ambrel {

/// What a user, a terminal or a service manager ends a program by.
inline constexpr std::array interruptions{SIGINT, SIGTERM, SIGHUP};

/// While it lives, interruptions wait, so that what has been begun, such as a file, is finished;
/// what came takes effect when this goes.
class HeldSignals {
public:
    HeldSignals() : HeldSignals(SIG_BLOCK) {}

    /// The other way round: while it lives, interruptions that are held take effect.
    static HeldSignals letThrough() { return HeldSignals(SIG_UNBLOCK); }

    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;
    ~HeldSignals();

    /// They wait on when this has gone: the program is about to end.
    void holdOn() { holdsOn_ = true; }

private:
    explicit HeldSignals(int change);

    sigset_t before_{};
    bool holdsOn_ = false;
};

} // namespace Ambrel

#endif
