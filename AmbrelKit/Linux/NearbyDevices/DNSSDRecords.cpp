#include "AmbrelKit/Linux/NearbyDevices/DNSSDRecords.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

namespace AmbrelKit::Linux {

namespace {

constexpr std::size_t ipv4RecordLength = 16;
constexpr std::size_t ipv6RecordLength = 28;
constexpr std::size_t longestLabel = 63;
constexpr std::size_t longestText = 255;

bool isLabelCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_'; // against the standard, and yet in use
}

char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// A subtype may be called anything. What Avahi would have escaped is in use nowhere.
bool isSubtypeCharacter(char c) { return c > ' ' && c <= '~' && c != '\\'; }

bool isLabelOf(std::string_view label, bool (*isCharacter)(char)) {
    return label.size() > 1 && label.size() <= longestLabel && label.front() == '_' &&
           std::ranges::all_of(label, isCharacter);
}

/// `_name._tcp` or `_name._udp`.
bool isPlainType(std::string_view type) {
    const std::size_t dot = type.find('.');
    if (dot == std::string_view::npos) {
        return false;
    }
    const auto transport = type.substr(dot + 1);
    return isLabelOf(type.substr(0, dot), isLabelCharacter) &&
           (isSameName(transport, "_tcp") || isSameName(transport, "_udp"));
}

struct SplitSubtype {
    std::string_view subtype; ///< its label, or empty
    std::string_view parent;
};

SplitSubtype splitSubtype(std::string_view type) {
    constexpr std::string_view mark = "._sub.";
    const std::size_t dot = type.find('.');
    return dot != std::string_view::npos && isSameName(type.substr(dot, mark.size()), mark)
               ? SplitSubtype{type.substr(0, dot), type.substr(dot + mark.size())}
               : SplitSubtype{{}, type};
}

std::string_view withoutTrailingDot(std::string_view name) {
    return name.ends_with('.') ? name.substr(0, name.size() - 1) : name;
}

template <class Value> void put(std::string& record, std::size_t offset, const Value& value) {
    std::memcpy(record.data() + offset, &value, sizeof value);
}

std::string recordHead(std::size_t length, int family, std::uint16_t port) {
    std::string record(length, '\0');
    record[0] = static_cast<char>(length);
    record[1] = static_cast<char>(family);
    put(record, 2, htons(port));
    return record;
}

} // namespace

std::optional<std::string> avahiServiceType(std::string_view type) {
    const std::string_view bare = withoutTrailingDot(type);
    const auto [subtype, parent] = splitSubtype(bare);
    return isPlainType(parent) && (subtype.empty() || isLabelOf(subtype, isSubtypeCharacter))
               ? std::optional(std::string(bare))
               : std::nullopt;
}

std::string typeOfInstances(std::string_view type) {
    return std::string(splitSubtype(type).parent);
}

bool isSameName(std::string_view name, std::string_view other) {
    return std::ranges::equal(name, other, {}, asciiLower, asciiLower);
}

std::string avahiDomain(std::string_view domain) { return std::string(withoutTrailingDot(domain)); }

std::string txtRecordBytes(const std::vector<std::string>& lastFirst) {
    std::string record;
    std::for_each(lastFirst.rbegin(), lastFirst.rend(), [&record](std::string_view text) {
        const auto whole = text.substr(0, longestText);
        record.push_back(static_cast<char>(whole.size()));
        record.append(whole);
    });
    // A record is never shorter than one empty string.
    return record.empty() ? std::string(1, '\0') : record;
}

std::optional<HostAddress> parsedAddress(const std::string& text) {
    in_addr ipv4{};
    if (inet_pton(AF_INET, text.c_str(), &ipv4) == 1) {
        return ipv4;
    }
    in6_addr ipv6{};
    if (inet_pton(AF_INET6, text.c_str(), &ipv6) == 1) {
        return ipv6;
    }
    return std::nullopt;
}

std::string socketAddressRecord(const HostAddress& address, std::uint16_t port, int interface) {
    if (const auto* ipv4 = std::get_if<in_addr>(&address)) {
        std::string record = recordHead(ipv4RecordLength, AF_INET, port);
        put(record, 4, *ipv4);
        return record;
    }
    const auto& ipv6 = std::get<in6_addr>(address);
    std::string record = recordHead(ipv6RecordLength, AF_INET6, port);
    put(record, 8, ipv6);
    if (IN6_IS_ADDR_LINKLOCAL(&ipv6)) {
        put(record, 24, static_cast<std::uint32_t>(interface));
    }
    return record;
}

} // namespace AmbrelKit::Linux
