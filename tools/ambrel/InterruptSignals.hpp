#ifndef AMBREL_INTERRUPTSIGNALS_HPP
#define AMBREL_INTERRUPTSIGNALS_HPP

#include <csignal>

namespace Ambrel {

/// While it lives, SIGINT and SIGTERM are read from a descriptor instead of ending the process. One
/// that the process was started to ignore stays ignored.
class InterruptSignals {
public:
    /// Throws std::system_error when the system gives no descriptor.
    InterruptSignals();
    InterruptSignals(const InterruptSignals&) = delete;
    InterruptSignals& operator=(const InterruptSignals&) = delete;
    /// What came and was not taken is dropped with it.
    ~InterruptSignals();

    /// Readable once a signal has come.
    [[nodiscard]] int fileDescriptor() const { return descriptor_; }

private:
    sigset_t before_{};
    int descriptor_ = -1;
};

/// Has SIGINT and SIGTERM end the program with this exit status wherever it is, where they are not
/// read from a descriptor: also in the middle of writing to a reader that does not read.
void exitOnInterrupt(int status);

} // namespace Ambrel

#endif
