#ifndef AMBREL_SIGNALDESCRIPTOR_HPP
#define AMBREL_SIGNALDESCRIPTOR_HPP

#include <csignal>
#include <optional>

namespace Ambrel {

/// Signals that are held back, as something to be read.
class SignalDescriptor {
public:
    /// Throws std::system_error when the system gives no descriptor.
    explicit SignalDescriptor(const sigset_t& signals);
    SignalDescriptor(const SignalDescriptor&) = delete;
    SignalDescriptor& operator=(const SignalDescriptor&) = delete;
    ~SignalDescriptor();

    /// Readable once a signal has come.
    [[nodiscard]] int number() const { return descriptor_; }

    /// A signal that has come, or nothing.
    [[nodiscard]] std::optional<int> take() const;

private:
    int descriptor_;
};

} // namespace Ambrel

#endif
