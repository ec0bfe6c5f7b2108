#ifndef AMBREL_INTERRUPTSIGNALS_HPP
#define AMBREL_INTERRUPTSIGNALS_HPP

#include "tools/ambrel/Process/HeldSignals.hpp"
#include "tools/ambrel/Process/SignalDescriptor.hpp"

#include <optional>

namespace Ambrel {

/// While it lives, interruptions are read from a descriptor instead of ending the process. One that
/// the process was started to ignore stays ignored.
class InterruptSignals {
public:
    /// Throws std::system_error when the system gives no descriptor.
    InterruptSignals();
    InterruptSignals(const InterruptSignals&) = delete;
    InterruptSignals& operator=(const InterruptSignals&) = delete;
    /// What came and was not taken takes effect now.
    ~InterruptSignals() = default;

    /// Readable once a signal has come.
    [[nodiscard]] int fileDescriptor() const { return descriptor_.number(); }

    /// The signal that has come, or nothing. After one, no other ends the process any more: it is
    /// about to end.
    std::optional<int> take();

private:
    HeldSignals held_;
    SignalDescriptor descriptor_;
};

} // namespace Ambrel

#endif
