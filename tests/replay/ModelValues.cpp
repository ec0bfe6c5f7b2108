#include "tests/replay/ModelValues.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <set>

namespace ReplayModel {

namespace {

bool isText(const std::string& bytes) { // the library's check of UTF-8 is as good as any
    return json(bytes).dump(-1, ' ', false, json::error_handler_t::ignore) ==
           json(bytes).dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace

std::int64_t nanoseconds(const json& seconds) {
    const double value = seconds.get<double>();
    const double whole = std::trunc(value);
    return static_cast<std::int64_t>(whole) * second + std::llround((value - whole) * 1e9);
}

std::string seconds(std::int64_t nanoseconds) {
    std::string text = std::to_string(nanoseconds / second) + "." +
                       std::to_string(nanoseconds % second + second).substr(1);
    while (text.back() == '0') {
        text.pop_back();
    }
    if (text.back() == '.') {
        text.pop_back();
    }
    return text;
}

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string bytes(const std::string& hex) {
    std::string result;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        result += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return result;
}

json txtDictionary(const std::string& record) {
    json dictionary = json::object();
    std::set<std::string> seen;
    for (std::size_t i = 0; i < record.size();) {
        const auto length = static_cast<unsigned char>(record[i]);
        if (i + 1 + length > record.size()) {
            break;
        }
        const std::string pair = record.substr(i + 1, length);
        i += 1U + length;
        const auto equals = pair.find('=');
        const std::string key = pair.substr(0, equals);
        if (key.empty() || !seen.insert(upperCase(key)).second) {
            continue;
        }
        const std::string value = equals == std::string::npos ? "" : pair.substr(equals + 1);
        if (isText(value)) {
            dictionary[key] = value;
        }
    }
    return dictionary;
}

json ipv4(const json& addresses) {
    for (const json& hex : addresses.is_null() ? json::array() : addresses) {
        const std::string address = bytes(hex);
        if (address.size() >= 16 && address[1] == 2) {
            std::string text;
            for (std::size_t i = 4; i < 8; ++i) {
                text += std::to_string(static_cast<unsigned char>(address[i])) + ".";
            }
            text.pop_back();
            return text;
        }
    }
    return nullptr;
}

std::string canonicalForm(const std::string& text) {
    static const std::map<std::string, std::string> composed{
        {"Cafe\u0301", "Caf\u00E9"}, {"\u212B", "\u00C5"}, {"A\u030A", "\u00C5"}};
    const auto form = composed.find(text);
    return form == composed.end() ? text : form->second;
}

} // namespace ReplayModel
