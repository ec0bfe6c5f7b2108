#include "tools/ambrel/Process/SignalDescriptor.hpp"

#include <cerrno>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

SignalDescriptor::SignalDescriptor(const sigset_t& signals)
    : descriptor_(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK)) {
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "watch for signals");
    }
}

SignalDescriptor::~SignalDescriptor() { close(descriptor_); }

std::optional<int> SignalDescriptor::take() const {
    signalfd_siginfo information{};
    const bool came = read(descriptor_, &information, sizeof information) == sizeof information;
    return came ? std::optional(static_cast<int>(information.ssi_signo)) : std::nullopt;
}

} // namespace Ambrel
