#include "AmbrelKit/Linux/NearbyDevices/RecordBytes.hpp"

#include "AmbrelKit/Platform/UTF8.hpp"

#include <arpa/nameser.h>
#include <array>
#include <netinet/in.h>
#include <string_view>

namespace AmbrelKit::Linux {

namespace {

/// Whether each pointer of the name at `at`, which can be read, leads back to a label.
bool leadsBack(const std::uint8_t* begin, const std::uint8_t* at) {
    constexpr unsigned pointer = 0xc0;
    const auto* part = at;
    while (*at != 0) {
        if (*at < pointer) {
            at += *at + 1;
            continue;
        }
        const auto* const target = begin + (twoBytes(at) & 0x3fff);
        if (target < begin + headerLength || target >= part || *target >= pointer) {
            return false;
        }
        part = at = target;
    }
    return true;
}

/// Whether Avahi takes the name `wire`, which is without compression: UTF-8 without noncharacters.
bool isText(std::string_view wire) {
    constexpr auto none = std::string_view::npos;
    return wire.find('\0') == wire.size() - 1 && wire.find("\xef\xb7") == none &&
           wire.find("\xbf\xbe") == none && wire.find("\xbf\xbf") == none && isValidUTF8(wire);
}

/// Whether texts, each behind its length, fill the data exactly.
bool areTexts(const std::uint8_t* at, const std::uint8_t* end) {
    while (at < end && *at < end - at) {
        at += *at + 1;
    }
    return at == end;
}

} // namespace

const std::uint8_t* appendName(std::string& text, const std::uint8_t* begin,
                               const std::uint8_t* end, const std::uint8_t* at) {
    std::array<std::uint8_t, NS_MAXCDNAME> name{};
    const int length = ns_name_unpack(begin, end, at, name.data(), name.size());
    if (length < 0) {
        return nullptr;
    }
    std::size_t size = 1;
    while (name[size - 1] != 0) {
        size += name[size - 1] + 1U;
    }
    text.append(reinterpret_cast<const char*>(name.data()), size);
    return at + length;
}

std::optional<std::ptrdiff_t> bytesBeforeName(unsigned type) {
    switch (type) {
    case ns_t_ptr:
    case ns_t_cname:
    case ns_t_nsec:
        return 0;
    case ns_t_srv:
        return 6;
    default:
        return std::nullopt;
    }
}

bool isOrdinaryName(const std::uint8_t* begin, const std::uint8_t* at, std::string_view wire) {
    return leadsBack(begin, at) && isText(wire);
}

bool isOrdinaryData(const std::uint8_t* begin, unsigned type, const std::uint8_t* data,
                    const std::uint8_t* end) {
    switch (type) {
    case ns_t_a:
        return end - data == sizeof(in_addr);
    case ns_t_aaaa:
        return end - data == sizeof(in6_addr);
    case ns_t_txt:
        return data != end && areTexts(data, end);
    case ns_t_nsec:
        return true;
    case ns_t_ptr:
    case ns_t_cname:
    case ns_t_srv: {
        data += bytesBeforeName(type).value_or(0);
        std::string name;
        return data < end && appendName(name, begin, end, data) == end && leadsBack(begin, data) &&
               isText(name);
    }
    default:
        return false;
    }
}

} // namespace AmbrelKit::Linux
