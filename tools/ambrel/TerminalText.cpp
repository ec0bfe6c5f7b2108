#include "tools/ambrel/TerminalText.hpp"

#include <utf8proc.h>

namespace Ambrel {

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        utf8proc_int32_t character = -1;
        const auto length =
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                             static_cast<utf8proc_ssize_t>(text.size()), &character);
        width += length > 0 ? static_cast<std::size_t>(utf8proc_charwidth(character)) : 0;
        text.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 1);
    }
    return width;
}

} // namespace Ambrel
