#ifndef AMBRELKIT_LINUX_NETWORK_LINKWATCH_HPP
#define AMBRELKIT_LINUX_NETWORK_LINKWATCH_HPP

#include "AmbrelKit/Platform/Descriptor.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <utility>

struct ifaddrs;

namespace AmbrelKit::Linux {

class DescriptorWatch;
class EventLoop;

/// Whether one entry of the kernel's list of interfaces and their addresses is such; absent when
/// the kernel refuses to tell.
std::optional<bool> hasInterface(bool (*isSuch)(const ifaddrs& entry));

/// Follows what the kernel shows of the network: by itself, whether a link other than loopback is
/// up and connected.
class LinkWatch {
public:
    /// Reads it; absent when the kernel refuses to tell.
    using Question = std::optional<bool> (*)();

    static std::optional<bool> anyLinkIsUp();

    /// `changed` is called from the loop.
    LinkWatch(EventLoop& loop, std::function<void()> changed)
        : LinkWatch(loop, anyLinkIsUp, {}, std::move(changed)) {}

    /// Follows what `question` reads: it is put again when a link changes, or an address, if
    /// `withAddresses`.
    LinkWatch(EventLoop& loop, Question question, bool withAddresses,
              std::function<void()> changed);

    /// The answer, known from the start; absent when the kernel refuses to tell.
    [[nodiscard]] std::optional<bool> isUp() const { return up_; }

private:
    void news();

    Question question_;
    std::function<void()> changed_;
    Descriptor socket_;
    std::shared_ptr<DescriptorWatch> watch_;
    std::optional<bool> up_;
};

} // namespace AmbrelKit::Linux

#endif
