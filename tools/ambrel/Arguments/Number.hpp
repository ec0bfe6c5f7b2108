#ifndef AMBREL_NUMBER_HPP
#define AMBREL_NUMBER_HPP

#include <cstddef>
#include <optional>
#include <string_view>

namespace Ambrel {

constexpr std::string_view plainNumber = ".0123456789";
constexpr std::string_view anyNumber = "+-.0123456789eE";

/// The decimal number that `text` begins with, of these characters alone, and moves `text` on
/// behind it; infinite beyond the doubles.
std::optional<double> takeNumber(std::string_view& text, std::string_view characters);

/// The number that up to nine digits are; nothing for any other text.
std::optional<std::size_t> wholeNumber(std::string_view text);

} // namespace Ambrel

#endif
