#include "AmbrelKit/Platform/UTF8.hpp"

#include <cstddef>
#include <utf8proc.h>

namespace AmbrelKit {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// The length of the character that `bytes` start with, or 0 when they are ill-formed.
std::size_t characterLength(std::string_view bytes) {
    utf8proc_int32_t character = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
                                         static_cast<utf8proc_ssize_t>(bytes.size()), &character);
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

/// The range that the second byte must be in after this lead byte, and the sequence's full length;
/// length 1 for a byte that leads nothing.
struct Lead {
    std::size_t length = 1;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
};

Lead leadOf(unsigned char byte) {
    switch (byte) {
    case 0xE0:
        return {.length = 3, .low = 0xA0};
    case 0xED:
        return {.length = 3, .high = 0x9F};
    case 0xF0:
        return {.length = 4, .low = 0x90};
    case 0xF4:
        return {.length = 4, .high = 0x8F};
    default:
        break;
    }
    if (byte >= 0xC2 && byte <= 0xDF) {
        return {.length = 2};
    }
    if (byte >= 0xE1 && byte <= 0xEF) {
        return {.length = 3};
    }
    if (byte >= 0xF1 && byte <= 0xF3) {
        return {.length = 4};
    }
    return {};
}

/// How many of the ill-formed `bytes` one replacement character stands for.
std::size_t illFormedLength(std::string_view bytes) {
    Lead lead = leadOf(static_cast<unsigned char>(bytes.front()));
    std::size_t length = 1;
    while (length < lead.length && length < bytes.size()) {
        const auto byte = static_cast<unsigned char>(bytes[length]);
        if (byte < lead.low || byte > lead.high) {
            break;
        }
        lead.low = 0x80;
        lead.high = 0xBF;
        ++length;
    }
    return length;
}

} // namespace

bool isValidUTF8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = characterLength(bytes);
        if (length == 0) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

std::string repairedUTF8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        std::size_t length = characterLength(bytes);
        if (length > 0) {
            text.append(bytes.substr(0, length));
        } else {
            length = illFormedLength(bytes);
            text.append(replacementCharacter);
        }
        bytes.remove_prefix(length);
    }
    return text;
}

} // namespace AmbrelKit
