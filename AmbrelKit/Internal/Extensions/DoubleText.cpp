#include "AmbrelKit/Internal/Extensions/DoubleText.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

namespace AmbrelKit {

namespace {

constexpr double leastDecimal = 1e-4;
constexpr double greatestDecimal = 0x1p53; // up to here doubles hold every integer

} // namespace

std::string doubleText(double number) {
    if (std::isnan(number)) {
        return "nan";
    }
    const double magnitude = std::fabs(number);
    const bool decimal =
        magnitude == 0 || (magnitude >= leastDecimal && magnitude <= greatestDecimal);
    std::array<char, 32> buffer{}; // the longest has 24 characters
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                      decimal ? std::chars_format::fixed : std::chars_format::scientific)
            .ptr;
    std::string text(buffer.data(), end);
    if (decimal && text.find('.') == std::string::npos) {
        text += ".0";
    }
    return text;
}

std::optional<double> doubleOfText(std::string_view text) {
    // A number in JSON reads the same in every locale. libc++ has std::from_chars for doubles from
    // version 20 on only.
    const auto json = nlohmann::json::parse(text, nullptr, false);
    const double number = json.is_number() ? json.get<double>() : std::nan("");
    const bool ours = std::isfinite(number) && doubleText(number) == text;
    return ours ? std::optional(number) : std::nullopt;
}

} // namespace AmbrelKit
