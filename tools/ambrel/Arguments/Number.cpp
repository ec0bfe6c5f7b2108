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

std::optional<std::size_t> wholeNumber(std::string_view text) {
    constexpr std::size_t greatestLength = 9;
    const bool isNumber = !text.empty() && text.size() <= greatestLength &&
                          text.find_first_not_of("0123456789") == text.npos;
    return isNumber ? std::optional<std::size_t>(std::stoul(std::string(text))) : std::nullopt;
}

} // namespace Ambrel
