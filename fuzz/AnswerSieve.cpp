// Datagrams of multicast DNS, as they stand before the embedded stack.

#include "AmbrelKit/Linux/NearbyDevices/AnswerSieve.hpp"

#include "fuzz/support/Bytes.hpp"
#include "fuzz/support/VirtualTime.hpp"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

/// What is in the socket: one datagram, or nothing.
struct Datagram {
    bool isThere = false;
    bool byIPv6 = false;
    bool isMulticast = false;
    bool isTruncated = false;
    std::uint16_t port = 0;
    int interface = 0;
    std::string_view bytes;
} next;

template <class Info> void fill(msghdr& message, int level, int type, const Info& info) {
    auto* const entry = CMSG_FIRSTHDR(&message);
    entry->cmsg_level = level;
    entry->cmsg_type = type;
    entry->cmsg_len = CMSG_LEN(sizeof info);
    std::memcpy(CMSG_DATA(entry), &info, sizeof info);
    message.msg_controllen = CMSG_SPACE(sizeof info);
}

void fillSender(msghdr& message) {
    if (next.byIPv6) {
        sockaddr_in6 sender{};
        sender.sin6_family = AF_INET6;
        sender.sin6_port = htons(next.port);
        std::memcpy(message.msg_name, &sender, sizeof sender);
        in6_pktinfo info{};
        info.ipi6_addr.s6_addr[0] = next.isMulticast ? 0xff : 0xfe;
        info.ipi6_ifindex = static_cast<unsigned>(next.interface);
        fill(message, IPPROTO_IPV6, IPV6_PKTINFO, info);
    } else {
        sockaddr_in sender{};
        sender.sin_family = AF_INET;
        sender.sin_port = htons(next.port);
        std::memcpy(message.msg_name, &sender, sizeof sender);
        in_pktinfo info{};
        info.ipi_addr.s_addr = htonl(next.isMulticast ? 0xe00000fb : 0xc0000207);
        info.ipi_ifindex = next.interface;
        fill(message, IPPROTO_IP, IP_PKTINFO, info);
    }
}

} // namespace

// In the place of the C library's: the sieve reads what stands above.

extern "C" ssize_t recvmsg(int /*descriptor*/, msghdr* message, int flags) {
    if (!next.isThere) {
        errno = EAGAIN;
        return -1;
    }
    check((flags & MSG_PEEK) != 0);
    fillSender(*message);
    const auto& place = message->msg_iov[0];
    const auto count = std::min(next.bytes.size(), place.iov_len);
    std::memcpy(place.iov_base, next.bytes.data(), count);
    message->msg_flags = count < next.bytes.size() || next.isTruncated ? MSG_TRUNC : 0;
    return static_cast<ssize_t>(count);
}

extern "C" ssize_t recv(int /*descriptor*/, void* /*place*/, std::size_t size, int /*flags*/) {
    check(next.isThere && size == 0);
    next.isThere = false;
    return 0;
}

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes input(data, size);
    const VirtualTime time;
    AmbrelKit::Linux::AnswerSieve sieve;
    while (!input.isEmpty()) {
        const auto how = input.byte();
        next.isThere = true;
        next.byIPv6 = (how & 1) != 0;
        next.isMulticast = (how & 2) == 0;
        next.port = (how & 4) == 0 ? 5353 : 5354;
        next.interface = (how & 8) == 0 ? 2 : 3;
        next.isTruncated = (how & 16) != 0;
        const std::size_t length = input.byte() | input.byte() << 8;
        next.bytes = input.take(length);
        for (int times = (how & 32) != 0 ? 2 : 1; times > 0; --times) {
            next.isThere = true;
            // What is admitted is left in the socket, what is not is taken out of it.
            check(sieve.admitsNext(0) == next.isThere);
        }
        if ((how & 64) != 0) {
            VirtualTime::pass(std::chrono::milliseconds(300));
        }
        if ((how & 128) != 0) {
            VirtualTime::pass(std::chrono::seconds(9));
        }
        (void)sieve.recentRecords();
    }
    return 0;
}
