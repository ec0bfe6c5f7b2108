#include "AmbrelKit/Platform/UUID.hpp"

#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace AmbrelKit {

namespace {

constexpr std::size_t textLength = 36;

constexpr bool isHyphenAt(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

std::optional<std::uint8_t> hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<std::uint8_t>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<std::uint8_t>(c - 'a' + 10);
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<std::uint8_t>(c - 'A' + 10);
    }
    return std::nullopt;
}

} // namespace

std::optional<UUID> UUID::parse(std::string_view text) {
    if (text.size() != textLength) {
        return std::nullopt;
    }
    Bytes bytes{};
    std::size_t nibble = 0;
    for (std::size_t i = 0; i < textLength; ++i) {
        if (isHyphenAt(i)) {
            if (text[i] != '-') {
                return std::nullopt;
            }
            continue;
        }
        const auto digit = hexDigit(text[i]);
        if (!digit) {
            return std::nullopt;
        }
        std::uint8_t& byte = bytes[nibble / 2];
        byte = static_cast<std::uint8_t>(byte << 4U | *digit);
        ++nibble;
    }
    return UUID(bytes);
}

UUID UUID::random() {
    Bytes bytes{};
    if (getentropy(bytes.data(), bytes.size()) != 0) { // needs no descriptor, unlike random_device
        throw std::system_error(errno, std::generic_category(), "make an identifier");
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);
    return UUID(bytes);
}

std::string UUID::text() const {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(textLength);
    for (const std::uint8_t byte : bytes_) {
        if (isHyphenAt(text.size())) {
            text += '-';
        }
        text += digits[byte >> 4U];
        text += digits[byte & 0x0FU];
    }
    return text;
}

} // namespace AmbrelKit

std::size_t std::hash<AmbrelKit::UUID>::operator()(const AmbrelKit::UUID& uuid) const noexcept {
    const auto& bytes = uuid.bytes();
    return std::hash<std::string_view>{}(
        {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}
