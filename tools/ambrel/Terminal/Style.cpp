#include "tools/ambrel/Terminal/Style.hpp"

#include "tools/ambrel/Process/Environment.hpp"
#include "tools/ambrel/Terminal/Terminal.hpp"

namespace Ambrel {

namespace {

const char* sequence(Meaning meaning) {
    switch (meaning) {
    case Meaning::heading:
        return "\033[1m";
    case Meaning::faint:
        return "\033[2m";
    case Meaning::good:
        return "\033[32m";
    case Meaning::caution:
        return "\033[33m";
    case Meaning::bad:
        return "\033[31m";
    case Meaning::fresh:
        return "\033[36m";
    case Meaning::plain:
        break;
    }
    return "";
}

} // namespace

Style::Style(int descriptor, ColorChoice choice) {
    hasColors_ =
        choice == ColorChoice::always || (choice == ColorChoice::automatic &&
                                          variable("NO_COLOR").empty() && isDrawable(descriptor));
}

std::string Style::operator()(Meaning meaning, std::string_view text) const {
    if (!hasColors_ || meaning == Meaning::plain || text.empty()) {
        return std::string(text);
    }
    return sequence(meaning) + std::string(text) + "\033[0m";
}

} // namespace Ambrel
