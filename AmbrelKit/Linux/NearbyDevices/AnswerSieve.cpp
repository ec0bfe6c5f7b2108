#include "AmbrelKit/Linux/NearbyDevices/AnswerSieve.hpp"

#include "AmbrelKit/Linux/NearbyDevices/RecordBytes.hpp"

#include <algorithm>
#include <arpa/nameser.h>
#include <cstring>
#include <functional>
#include <netinet/in.h>
#include <optional>
#include <string_view>
#include <sys/socket.h>

namespace AmbrelKit::Linux {

namespace {

/// What came by IPv4 is kept for once to twice this time.
constexpr std::chrono::seconds memory{10};

/// As many records as the stack keeps of an interface; more are some flood.
constexpr std::size_t mostKnown = 65536;

/// What a flood tells until those are asked again that it has crowded out.
constexpr std::size_t mostPutOff = 4 * mostKnown;

constexpr std::chrono::milliseconds recently{500};

constexpr std::uint16_t mdnsPort = 5353;

constexpr unsigned isAnswer = 0x8000;
constexpr unsigned opcodeAndResult = 0x780f; ///< not zero: ignored by whoever reads it
constexpr unsigned replacesOthers = 0x8000;  ///< in the class of a record

/// A record that is held for less is wanted each time it comes; Avahi asks anew after four fifths
/// of the time.
constexpr unsigned shortestLifetime = 60;

template <class Address> std::uint64_t hashOf(const Address& address) {
    const std::string_view bytes(reinterpret_cast<const char*>(&address), sizeof address);
    return std::hash<std::string_view>()(bytes);
}

} // namespace

struct AnswerSieve::Datagram {
    const std::uint8_t* begin = nullptr;
    const std::uint8_t* end = nullptr;
    bool byIPv6 = false;
    bool isMulticast = false;
    int interface = 0;
    std::uint16_t port = 0;
    std::uint64_t sender = 0; ///< a hash of where it comes from

    /// From what recvmsg has filled in; nothing when that is not of an mDNS socket.
    static std::optional<Datagram> of(msghdr& message, const sockaddr_storage& sender) {
        Datagram datagram;
        for (auto* entry = CMSG_FIRSTHDR(&message); entry != nullptr;
             entry = CMSG_NXTHDR(&message, entry)) {
            if (entry->cmsg_level == IPPROTO_IP && entry->cmsg_type == IP_PKTINFO) {
                in_pktinfo info{};
                std::memcpy(&info, CMSG_DATA(entry), sizeof info);
                datagram.interface = info.ipi_ifindex;
                datagram.isMulticast = IN_MULTICAST(ntohl(info.ipi_addr.s_addr));
                const auto& from = reinterpret_cast<const sockaddr_in&>(sender);
                datagram.port = ntohs(from.sin_port);
                datagram.sender = hashOf(from.sin_addr);
            } else if (entry->cmsg_level == IPPROTO_IPV6 && entry->cmsg_type == IPV6_PKTINFO) {
                in6_pktinfo info{};
                std::memcpy(&info, CMSG_DATA(entry), sizeof info);
                datagram.byIPv6 = true;
                datagram.interface = static_cast<int>(info.ipi6_ifindex);
                datagram.isMulticast = IN6_IS_ADDR_MULTICAST(&info.ipi6_addr);
                const auto& from = reinterpret_cast<const sockaddr_in6&>(sender);
                datagram.port = ntohs(from.sin6_port);
                datagram.sender = hashOf(from.sin6_addr);
            }
        }
        return datagram.interface > 0 ? std::optional(datagram) : std::nullopt;
    }
};

bool AnswerSieve::admitsNext(int descriptor) {
    sockaddr_storage sender{};
    std::array<std::uint8_t, 256> control{};
    iovec place{buffer_.data(), buffer_.size()};
    msghdr message{};
    message.msg_name = &sender;
    message.msg_namelen = sizeof sender;
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const auto size = recvmsg(descriptor, &message, MSG_PEEK | MSG_DONTWAIT);
    auto datagram = size > 0 ? Datagram::of(message, sender) : std::nullopt;
    if (!datagram) {
        if (sender.ss_family == AF_NETLINK) {
            forget();
        }
        return true;
    }
    datagram->begin = buffer_.data();
    datagram->end = buffer_.data() + size;
    const bool isTooLong = (message.msg_flags & MSG_TRUNC) != 0;
    if (!isTooLong && admits(*datagram)) {
        return true;
    }
    recv(descriptor, nullptr, 0, MSG_DONTWAIT);
    return false;
}

bool AnswerSieve::admits(const Datagram& datagram) {
    const auto* const header = datagram.begin;
    if (datagram.end - header < static_cast<std::ptrdiff_t>(headerLength)) {
        return true;
    }
    const unsigned flags = twoBytes(header + 2);
    if ((flags & isAnswer) == 0) {
        return false;
    }
    const bool isPlain = (flags & opcodeAndResult) == 0 && twoBytes(header + 4) == 0 &&
                         twoBytes(header + 6) != 0 && twoBytes(header + 8) == 0 &&
                         datagram.port == mdnsPort;
    if (!isPlain) {
        return true;
    }
    forgetTheOld();
    const std::size_t count = twoBytes(header + 6) + twoBytes(header + 10);
    const bool isRead = readRecords(datagram, count);
    const std::size_t records = isRead ? count : sets_.size() + 1;
    const bool isForAll = isRead && areOrdinary_ && datagram.isMulticast;
    const bool isNew = !isForAll || !std::ranges::all_of(sets_, [this](const RecordSet& set) {
        return isKnown(set);
    });
    if (isNew && !isAffordable(datagram, records)) {
        return false;
    }
    if (isNew) {
        recent_ = recentRecords() + records;
        admitted_.emplace_back(Clock::now(), records);
    } else if (datagram.byIPv6) {
        ++repeatsByIPv6_;
    }
    if (isNew && !datagram.byIPv6) {
        for (RecordSet& set : sets_) {
            set.lasts = set.lasts && isForAll;
            note(set);
        }
    }
    return isNew;
}

/// Of what may be too much, the sets are remembered.
bool AnswerSieve::isAffordable(const Datagram& datagram, std::size_t records) {
    std::size_t services = 0;
    bool isHeardAgain = !sets_.empty();
    for (const RecordSet& set : sets_) {
        services += isKnown(set) ? 0 : set.pointers;
        isHeardAgain = isHeardAgain && putOff_.contains(set.content);
    }
    const auto cost = std::max(records, services * NeighbourBudget::perService);
    if (budget_.grants(datagram.sender, cost, isHeardAgain)) {
        return true;
    }
    if (putOff_.size() >= mostPutOff) {
        putOff_.clear();
    }
    for (const RecordSet& set : sets_) {
        putOff_.insert(set.content);
    }
    return false;
}

bool AnswerSieve::readRecords(const Datagram& datagram, std::size_t count) {
    sets_.clear();
    areOrdinary_ = true;
    const auto* at = datagram.begin + headerLength;
    for (; count > 0 && at != nullptr; --count) {
        at = readRecord(datagram, at);
    }
    return at != nullptr;
}

/// Adds the record at `at` to its set. The end of it, or null where it cannot be read.
const std::uint8_t* AnswerSieve::readRecord(const Datagram& datagram, const std::uint8_t* at) {
    constexpr std::ptrdiff_t fixedLength = 10;
    text_.assign(reinterpret_cast<const char*>(&datagram.interface), sizeof datagram.interface);
    const auto* const name = at;
    at = appendName(text_, datagram.begin, datagram.end, at);
    if (at == nullptr || datagram.end - at < fixedLength ||
        datagram.end - at - fixedLength < static_cast<std::ptrdiff_t>(twoBytes(at + 8))) {
        return nullptr;
    }
    const auto* const data = at + fixedLength;
    const auto* const end = data + twoBytes(at + 8);
    const unsigned type = twoBytes(at);
    const unsigned itsClass = twoBytes(at + 2);
    const unsigned lifetime = twoBytes(at + 4) << 16 | twoBytes(at + 6);
    areOrdinary_ = areOrdinary_ &&
                   isOrdinaryName(datagram.begin, name,
                                  std::string_view(text_).substr(sizeof datagram.interface)) &&
                   (itsClass & ~replacesOthers) == ns_c_in &&
                   isOrdinaryData(datagram.begin, type, data, end);
    text_.append(reinterpret_cast<const char*>(at), 2);
    const std::hash<std::string_view> hash;
    std::uint64_t key = hash(text_);

    const auto* rest = data;
    if (const auto before = bytesBeforeName(type); before && end - data > *before) {
        text_.append(reinterpret_cast<const char*>(data), static_cast<std::size_t>(*before));
        rest = appendName(text_, datagram.begin, end, data + *before);
        if (rest == nullptr) {
            return nullptr;
        }
    }
    text_.append(reinterpret_cast<const char*>(rest), static_cast<std::size_t>(end - rest));
    const std::uint64_t content = hash(text_);
    if ((itsClass & replacesOthers) == 0) {
        key = content;
    }
    const auto same = std::ranges::find(sets_, key, &RecordSet::key);
    auto& set = same != sets_.end() ? *same : sets_.emplace_back(RecordSet{.key = key});
    set.content += content;
    set.pointers += type == ns_t_ptr ? 1 : 0;
    set.lasts = set.lasts && lifetime >= shortestLifetime;
    return end;
}

bool AnswerSieve::isKnown(const RecordSet& set) const {
    auto known = known_.find(set.key);
    if (known == known_.end()) {
        known = knownBefore_.find(set.key);
        if (known == knownBefore_.end()) {
            return false;
        }
    }
    return set.lasts && known->second == set.content;
}

void AnswerSieve::note(const RecordSet& set) {
    if (known_.size() >= mostKnown) {
        forget();
    }
    if (set.lasts) {
        known_.insert_or_assign(set.key, set.content);
    } else {
        known_.erase(set.key);
        knownBefore_.erase(set.key);
    }
}

void AnswerSieve::forget() {
    known_.clear();
    knownBefore_.clear();
}

void AnswerSieve::forgetTheOld() {
    const auto now = Clock::now();
    if (now - knownSince_ < memory) {
        return;
    }
    knownBefore_ = now - knownSince_ < 2 * memory ? std::move(known_) : Known();
    known_.clear();
    knownSince_ = now;
    budget_.renew();
    putOff_.clear();
}

std::size_t AnswerSieve::recentRecords() {
    const auto now = Clock::now();
    while (!admitted_.empty() && now - admitted_.front().first > recently) {
        recent_ -= admitted_.front().second;
        admitted_.pop_front();
    }
    return recent_;
}

} // namespace AmbrelKit::Linux
