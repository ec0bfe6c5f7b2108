#include "AmbrelKit/Linux/Network/Association.hpp"

#include "AmbrelKit/Linux/Libraries/Netlink.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <linux/nl80211.h>

namespace AmbrelKit::Linux {

namespace {

std::span<const std::byte> payload(const nlattr* attribute) {
    if (attribute == nullptr) {
        return {};
    }
    return {static_cast<const std::byte*>(nla_data(attribute)),
            static_cast<std::size_t>(nla_len(attribute))};
}

template <class Value> std::optional<Value> value(const nlattr* attribute) {
    const auto bytes = payload(attribute);
    if (bytes.size() < sizeof(Value)) {
        return std::nullopt;
    }
    Value result{};
    std::memcpy(&result, bytes.data(), sizeof result);
    return result;
}

/// The SSID among information elements (each a type, a length, and so many bytes); empty when it
/// is not there or hidden: left empty, or as many zeros as it is long.
std::string_view networkName(std::span<const std::byte> elements) {
    constexpr std::size_t header = 2;
    constexpr std::size_t longest = 32;
    constexpr std::byte ssid{0};
    while (elements.size() >= header) {
        const auto length = std::to_integer<std::size_t>(elements[1]);
        if (length > elements.size() - header) {
            break;
        }
        const auto content = elements.subspan(header, length);
        if (elements[0] == ssid && length <= longest) {
            const bool hidden = std::all_of(content.begin(), content.end(),
                                            [](std::byte byte) { return byte == std::byte{0}; });
            return hidden ? std::string_view()
                          : std::string_view(reinterpret_cast<const char*>(content.data()), length);
        }
        elements = elements.subspan(header + length);
    }
    return {};
}

} // namespace

void AssociationSearch::add(std::span<const std::byte> attributes) {
    if (joined_ && names_.contains(*joined_)) {
        return;
    }
    std::array<nlattr*, NL80211_BSS_MAX + 1> known{};
    const auto* const first = reinterpret_cast<const nlattr*>(attributes.data());
    nla_parse(known.data(), NL80211_BSS_MAX, const_cast<nlattr*>(first),
              static_cast<int>(attributes.size()), nullptr);
    const auto address = value<Address>(known[NL80211_BSS_BSSID]);
    if (!address) {
        return;
    }
    const bool joined =
        value<std::uint32_t>(known[NL80211_BSS_STATUS]) == NL80211_BSS_STATUS_ASSOCIATED;
    if (joined && !joined_) { // of several links to one access point, the first
        joined_ = address;
        frequency_ = value<std::uint32_t>(known[NL80211_BSS_FREQUENCY]);
    }
    auto name = networkName(payload(known[NL80211_BSS_INFORMATION_ELEMENTS]));
    if (name.empty()) {
        name = networkName(payload(known[NL80211_BSS_BEACON_IES]));
    }
    if (name.empty()) {
        return;
    }
    const auto [entry, isNew] = names_.try_emplace(*address, name);
    if (joined && !isNew) {
        entry->second = name;
    }
}

std::optional<Association> AssociationSearch::result() const {
    if (!joined_) {
        return std::nullopt;
    }
    std::array<char, sizeof "02:00:5e:10:00:ff"> text{};
    const Address& bytes = *joined_;
    std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", bytes[0], bytes[1],
                  bytes[2], bytes[3], bytes[4], bytes[5]);
    Association network{.ssid = std::nullopt, .bssid = text.data(), .frequency = frequency_};
    if (const auto name = names_.find(bytes); name != names_.end()) {
        network.ssid = repairedUTF8(name->second);
    }
    return network;
}

} // namespace AmbrelKit::Linux
