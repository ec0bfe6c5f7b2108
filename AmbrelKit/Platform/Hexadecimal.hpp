#ifndef AMBRELKIT_PLATFORM_HEXADECIMAL_HPP
#define AMBRELKIT_PLATFORM_HEXADECIMAL_HPP

#include <string>
#include <string_view>

namespace AmbrelKit {

/// Two lower-case hexadecimal digits for each byte. On any thread.
inline std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4U];
        text += digits[value & 0x0FU];
    }
    return text;
}

} // namespace AmbrelKit

#endif
