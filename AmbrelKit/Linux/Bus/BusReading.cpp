#include "AmbrelKit/Linux/Bus/BusReading.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"

#include <byteswap.h>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace AmbrelKit::Linux {

namespace {

using Bytes = std::span<unsigned char>;

std::uint32_t numberAt(const unsigned char* bytes) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

constexpr std::size_t aligned(std::size_t offset, std::size_t alignment) {
    return (offset + alignment - 1) / alignment * alignment;
}

/// Where the body begins: its first text, which sd-bus leaves where it received it, lies behind the
/// lengths of the containers around it. Null when it has none, or its length does not show that the
/// sender's order of bytes is this machine's: that of an empty one reads the same both ways.
unsigned char* beginning(sd_bus_message* message) {
    constexpr std::size_t number = sizeof(std::uint32_t);
    std::size_t ahead = number; // the text's own length
    char type = 0;
    const char* contents = nullptr;
    while (sd_bus_message_peek_type(message, &type, &contents) > 0 &&
           (type == 'a' || type == 'e') &&
           sd_bus_message_enter_container(message, type, contents) > 0) {
        ahead += number; // an array's length, or what aligns its entries
    }
    const char* text = nullptr;
    if ((type != 's' && type != 'o') || sd_bus_message_read_basic(message, type, &text) <= 0) {
        return nullptr;
    }
    auto* const bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(text));
    const std::uint32_t length = numberAt(bytes - number);
    return length == std::strlen(text) && length != bswap_32(length) ? bytes - ahead : nullptr;
}

/// The noncharacters are the last two of each plane and U+FDD0 to U+FDEF. Other bytes than a text's
/// that look like one are changed with it.
bool replaceIn(Bytes bytes) {
    bool found = false;
    for (std::size_t i = 2; i < bytes.size(); ++i) {
        unsigned char* const end = &bytes[i];
        const bool threeBytes = end[-2] == 0xEF;
        const bool fourBytes =
            i > 2 && end[-3] >= 0xF0 && end[-3] <= 0xF4 && (end[-2] & 0xCF) == 0x8F;
        const bool endsPlane = (threeBytes || fourBytes) && end[-1] == 0xBF && end[0] >= 0xBE;
        const bool inBlock = threeBytes && end[-1] == 0xB7 && end[0] >= 0x90 && end[0] <= 0xAF;
        if (endsPlane || inBlock) {
            end[-1] = 0xBF;
            end[0] = 0xBD;
            found = true;
        }
    }
    return found;
}

/// The dictionary of a body whose types are these. The bus has seen to it that the lengths are
/// right.
Bytes dictionary(unsigned char* body, std::string_view types) {
    std::size_t at = 0;
    if (!types.starts_with('a')) {
        at = aligned(sizeof(std::uint32_t) + numberAt(body) + 1, 4);
        types.remove_prefix(1);
    }
    if (!types.starts_with("a{")) {
        return {};
    }
    return {body + aligned(at + sizeof(std::uint32_t), 8), numberAt(body + at)};
}

bool walkProperties(sd_bus_message* message,
                    const std::function<bool(std::string_view name, std::string_view type)>& read) {
    if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) {
        return false;
    }
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        const char* type = nullptr;
        if (sd_bus_message_read(message, "s", &name) <= 0 ||
            sd_bus_message_peek_type(message, nullptr, &type) <= 0 ||
            (!read(name, type) && sd_bus_message_skip(message, "v") < 0) ||
            sd_bus_message_exit_container(message) < 0) {
            return false;
        }
    }
    return sd_bus_message_exit_container(message) >= 0;
}

} // namespace

bool replaceNoncharacters(sd_bus_message* message) {
    sd_bus_message_rewind(message, 1);
    unsigned char* const body = beginning(message);
    sd_bus_message_rewind(message, 1);
    return body != nullptr && replaceIn(dictionary(body, sd_bus_message_get_signature(message, 1)));
}

void readProperties(sd_bus_message* message,
                    const std::function<bool(std::string_view name, std::string_view type)>& read) {
    readBody(message, [&] {
        const char* interface = nullptr;
        sd_bus_message_read_basic(message, 's', &interface); // where it is not read yet
        return walkProperties(message, read);
    });
}

const char* firstText(sd_bus_message* message) {
    return sd_bus_message_enter_container(message, 'a', "s") > 0 ? nextText(message) : nullptr;
}

const char* nextText(sd_bus_message* message) {
    const char* text = nullptr;
    if (sd_bus_message_read_basic(message, 's', &text) > 0) {
        return text;
    }
    sd_bus_message_exit_container(message);
    return nullptr;
}

} // namespace AmbrelKit::Linux
