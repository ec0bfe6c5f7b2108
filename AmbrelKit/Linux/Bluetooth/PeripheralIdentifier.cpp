#include "AmbrelKit/Linux/Bluetooth/PeripheralIdentifier.hpp"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <system_error>
#include <systemd/sd-id128.h>

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

/// SipHash-2-4 with a result of 128 bits, of a message of at most seven bytes: one that only who
/// has the key can compute or invert.
class SipHash {
public:
    SipHash(const Key& key, std::uint64_t block)
        : v_{key[0] ^ 0x736f6d6570736575, key[1] ^ 0x646f72616e646f83, key[0] ^ 0x6c7967656e657261,
             key[1] ^ 0x7465646279746573 ^ block} {
        mix(2);
        v_[0] ^= block;
        v_[2] ^= 0xEE;
    }

    std::uint64_t half() {
        mix(4);
        return v_[0] ^ v_[1] ^ v_[2] ^ v_[3];
    }

    std::uint64_t otherHalf() {
        v_[1] ^= 0xDD;
        return half();
    }

private:
    void mix(int rounds) {
        for (int i = 0; i < rounds; ++i) {
            stir(0, 1, 13);
            v_[0] = std::rotl(v_[0], 32);
            stir(2, 3, 16);
            stir(0, 3, 21);
            stir(2, 1, 17);
            v_[2] = std::rotl(v_[2], 32);
        }
    }

    void stir(std::size_t sum, std::size_t turned, int bits) {
        v_[sum] += v_[turned];
        v_[turned] = std::rotl(v_[turned], bits) ^ v_[sum];
    }

    std::array<std::uint64_t, 4> v_;
};

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
    SipHash hash(key(), length << 56 | block);
    const std::uint64_t first = hash.half();
    auto bytes = std::bit_cast<UUID::Bytes>(std::array{first, hash.otherHalf()});
    bytes[6] = (bytes[6] & 0x0F) | 0x40; // a version 4 UUID
    bytes[8] = (bytes[8] & 0x3F) | 0x80;
    return UUID(bytes);
}

} // namespace AmbrelKit::Linux
