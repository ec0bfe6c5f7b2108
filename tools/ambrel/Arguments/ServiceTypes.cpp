#include "tools/ambrel/Arguments/ServiceTypes.hpp"

#include <algorithm>
#include <cstddef>

namespace Ambrel {

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isServiceName(std::string_view name) {
    constexpr std::size_t longest = 15;
    return !name.empty() && name.size() <= longest && name.front() != '-' && name.back() != '-' &&
           name.find("--") == std::string_view::npos &&
           std::any_of(name.begin(), name.end(), isLetter) &&
           std::all_of(name.begin(), name.end(),
                       [](char c) { return isLetter(c) || isDigit(c) || c == '-'; });
}

bool isSubtypeLabel(std::string_view label) {
    constexpr std::size_t longest = 63;
    return label.size() > 1 && label.size() <= longest && label.front() == '_' &&
           std::all_of(label.begin(), label.end(),
                       [](char c) { return c > ' ' && c <= '~' && c != '.' && c != '\\'; });
}

} // namespace

bool isServiceType(std::string_view text) {
    if (text.ends_with('.')) {
        text.remove_suffix(1);
    }
    constexpr std::string_view subtypeMark = "._sub.";
    if (const std::size_t mark = text.find(subtypeMark); mark != std::string_view::npos) {
        if (!isSubtypeLabel(text.substr(0, mark))) {
            return false;
        }
        text.remove_prefix(mark + subtypeMark.size());
    }
    if (!text.ends_with("._tcp") && !text.ends_with("._udp")) {
        return false;
    }
    text.remove_suffix(std::string_view("._tcp").size());
    return text.starts_with('_') && isServiceName(text.substr(1));
}

} // namespace Ambrel
