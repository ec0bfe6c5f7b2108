#include "AmbrelKit/Linux/Bluetooth/PeripheralIdentifier.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace AmbrelKit::Linux {

namespace {

/// What sd-id128 calls an application id, chosen at random; changing it changes every identifier
/// everywhere.
constexpr sd_id128_t identifierSpace =
    SD_ID128_ARRAY(5d, a3, 1b, 0e, c2, 74, 49, f6, 8e, 30, 1f, 6b, d7, 52, 90, ac);

using Key = std::array<std::uint64_t, 2>;

/// The key of this machine, or of its present boot, or else of this process.
Key findKey() {
    sd_id128_t derived{};
    if (sd_id128_get_machine_app_specific(identifierSpace, &derived) < 0 &&
        sd_id128_get_boot_app_specific(identifierSpace, &derived) < 0) {
        std::ranges::copy(UUID::random().bytes(), derived.bytes);
    }
    return std::bit_cast<Key>(derived);
}

const Key& key() {
    static const Key found = findKey();
    return found;
}

/// SipHash-2-4 of one block, with a result of 128 bits: what only who has the key can compute, or
/// invert.
std::array<std::uint64_t, 2> sipHash(const Key& key, std::uint64_t block) {
    std::uint64_t a = key[0] ^ 0x736f6d6570736575;
    std::uint64_t b = key[1] ^ 0x646f72616e646f83;
    std::uint64_t c = key[0] ^ 0x6c7967656e657261;
    std::uint64_t d = key[1] ^ 0x7465646279746573 ^ block;
    const auto stir = [](std::uint64_t& sum, std::uint64_t& turned, int bits) {
        sum += turned;
        turned = std::rotl(turned, bits) ^ sum;
    };
    const auto mix = [&](int rounds) {
        for (; rounds > 0; --rounds) {
            stir(a, b, 13);
            a = std::rotl(a, 32);
            stir(c, d, 16);
            stir(a, d, 21);
            stir(c, b, 17);
            c = std::rotl(c, 32);
        }
        return a ^ b ^ c ^ d;
    };
    mix(2);
    a ^= block;
    c ^= 0xEE;
    const std::uint64_t first = mix(4);
    b ^= 0xDD;
    return {first, mix(4)};
}

} // namespace

void preparePeripheralIdentifiers() { key(); }

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
    std::uint64_t block = address.random ? 1 : 0;
    for (const std::uint8_t byte : address.bytes) {
        block = block << 8 | byte;
    }
    constexpr std::uint64_t length = 7;
    auto bytes = std::bit_cast<UUID::Bytes>(sipHash(key(), length << 56 | block));
    bytes[6] = (bytes[6] & 0x0F) | 0x40; // a version 4 UUID
    bytes[8] = (bytes[8] & 0x3F) | 0x80;
    return UUID(bytes);
}

} // namespace AmbrelKit::Linux
