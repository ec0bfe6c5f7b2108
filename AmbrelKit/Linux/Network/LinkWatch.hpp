#ifndef AMBRELKIT_LINUX_NETWORK_LINKWATCH_HPP
#define AMBRELKIT_LINUX_NETWORK_LINKWATCH_HPP

#include "AmbrelKit/Platform/Descriptor.hpp"

#include <functional>
#include <memory>
#include <optional>

namespace AmbrelKit::Linux {

class DescriptorWatch;
class EventLoop;

/// Follows whether a link other than loopback is up and connected, as the kernel tells it.
class LinkWatch {
public:
    /// `changed` is called from the loop.
    LinkWatch(EventLoop& loop, std::function<void()> changed);

    /// Known from the start; absent when the kernel refuses to tell.
    [[nodiscard]] std::optional<bool> isUp() const { return up_; }

private:
    void news();

    std::function<void()> changed_;
    Descriptor socket_;
    std::shared_ptr<DescriptorWatch> watch_;
    std::optional<bool> up_;
};

} // namespace AmbrelKit::Linux

#endif
