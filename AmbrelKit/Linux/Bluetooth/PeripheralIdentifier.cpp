#include "AmbrelKit/Linux/Bluetooth/PeripheralIdentifier.hpp"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <systemd/sd-id128.h>

namespace AmbrelKit::Linux {

namespace {

/// What sd-id128 calls an application id, chosen at random. Its last seven bytes give way to the
/// address, so that each address is an application of its own; changing the others changes every
/// identifier everywhere.
constexpr sd_id128_t identifierSpace =
    SD_ID128_ARRAY(5d, a3, 1b, 0e, c2, 74, 49, f6, 8e, 00, 00, 00, 00, 00, 00, 00);
constexpr std::size_t typeOffset = 9;
constexpr std::size_t addressOffset = 10;

} // namespace

std::optional<HardwareAddress> HardwareAddress::parse(std::string_view text, bool random) {
    constexpr std::size_t digits = 2;
    HardwareAddress address{.random = random};
    if (text.size() != address.bytes.size() * (digits + 1) - 1) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < address.bytes.size(); ++i) {
        const char* const first = text.data() + i * (digits + 1);
        const auto [end, error] = std::from_chars(first, first + digits, address.bytes[i], 16);
        const bool joined = i == 0 || first[-1] == ':';
        if (error != std::errc() || end != first + digits || !joined) {
            return std::nullopt;
        }
    }
    return address;
}

UUID peripheralIdentifier(const HardwareAddress& address) {
    sd_id128_t input = identifierSpace;
    input.bytes[typeOffset] = address.random ? 1 : 0;
    std::ranges::copy(address.bytes, input.bytes + addressOffset);
    // HMAC-SHA256 keyed by the machine id, shortened and marked as a version 4 UUID.
    sd_id128_t derived{};
    if (sd_id128_get_machine_app_specific(input, &derived) < 0) {
        sd_id128_get_boot_app_specific(input, &derived);
    }
    UUID::Bytes bytes{};
    std::ranges::copy(derived.bytes, bytes.begin());
    return UUID(bytes);
}

} // namespace AmbrelKit::Linux
