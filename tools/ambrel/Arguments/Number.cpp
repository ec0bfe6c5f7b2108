#include "tools/ambrel/Arguments/Number.hpp"

#include <cstdlib>
#include <string>

namespace Ambrel {

// std::from_chars would do, but libc++ reads doubles so from version 20 on only. This program has
// the locale "C".
std::optional<double> takeNumber(std::string_view& text, std::string_view characters) {
    const std::string candidate(text.substr(0, text.find_first_not_of(characters)));
    char* end = nullptr;
    const double number = std::strtod(candidate.c_str(), &end);
    const auto length = static_cast<std::size_t>(end - candidate.c_str());
    text.remove_prefix(length);
    return length > 0 ? std::optional(number) : std::nullopt;
}

} // namespace Ambrel
