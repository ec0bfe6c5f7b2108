#include "AmbrelKit/Linux/NearbyDevices/DNSSDRecords.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <strings.h>

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
    const std::size_t dot = bare.find('.');
    if (dot == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view label = bare.substr(0, dot);
    const std::string transport(bare.substr(dot + 1));
    const bool valid = label.size() > 1 && label.size() <= longestLabel && label.front() == '_' &&
                       std::all_of(label.begin(), label.end(), isLabelCharacter) &&
                       (strcasecmp(transport.c_str(), "_tcp") == 0 ||
                        strcasecmp(transport.c_str(), "_udp") == 0) &&
                       transport.size() == 4;
    return valid ? std::optional(std::string(bare)) : std::nullopt;
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
