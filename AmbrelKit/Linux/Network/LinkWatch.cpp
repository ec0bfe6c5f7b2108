#include "AmbrelKit/Linux/Network/LinkWatch.hpp"

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <array>
#include <cerrno>
#include <ifaddrs.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr int mostMessages = 256; ///< what comes beyond is taken at the loop's next turn

/// A socket that becomes readable whenever something of the groups changes; -1 when there can be
/// none.
int linkSocket(unsigned groups) {
    const int descriptor =
        socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    if (descriptor >= 0) {
        bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    return descriptor;
}

} // namespace

std::optional<bool> hasInterface(bool (*isSuch)(const ifaddrs& entry)) {
    ifaddrs* head = nullptr;
    if (getifaddrs(&head) != 0) {
        return std::nullopt;
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(head, freeifaddrs);
    for (const ifaddrs* entry = head; entry != nullptr; entry = entry->ifa_next) {
        if (isSuch(*entry)) {
            return true;
        }
    }
    return false;
}

std::optional<bool> LinkWatch::anyLinkIsUp() {
    return hasInterface([](const ifaddrs& entry) {
        constexpr unsigned wanted = IFF_UP | IFF_RUNNING;
        return (entry.ifa_flags & (wanted | IFF_LOOPBACK)) == wanted;
    });
}

LinkWatch::LinkWatch(EventLoop& loop, Question question, bool withAddresses,
                     std::function<void()> changed)
    : question_(question), changed_(std::move(changed)),
      socket_(
          linkSocket(RTMGRP_LINK | (withAddresses ? RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR : 0))) {
    if (socket_.get() >= 0) {
        watch_ = loop.watch(socket_.get(), EPOLLIN, [this](std::uint32_t) { news(); });
        up_ = question_();
    }
}

/// What the messages say is not read: some may have been lost, and the kernel is asked anyway.
void LinkWatch::news() {
    std::array<char, 4096> ignored{};
    for (int i = 0; i < mostMessages; ++i) {
        if (recv(socket_.get(), ignored.data(), ignored.size(), 0) < 0 && errno != ENOBUFS) {
            break;
        }
    }
    const auto now = question_();
    if (now && std::exchange(up_, now) != now) { // a question that fails is no news
        const auto changed = changed_;           // it may drop this watch
        changed();
    }
}

} // namespace AmbrelKit::Linux
