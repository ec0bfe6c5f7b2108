#include "AmbrelKit/Platform/NetService.hpp"

#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <set>

namespace AmbrelKit {

namespace {

std::string asciiFolded(std::string_view key) {
    std::string folded(key);
    std::transform(folded.begin(), folded.end(), folded.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return folded;
}

} // namespace

std::optional<std::uint16_t> NetService::port() const {
    constexpr std::size_t headLength = 4;
    const auto records = addresses();
    if (!records || records->empty() || records->front().size() < headLength) {
        return std::nullopt;
    }
    const std::string& record = records->front();
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(record[i]); };
    return static_cast<std::uint16_t>(byte(2) << 8U | byte(3));
}

std::map<std::string, std::string>
NetService::dictionaryFromTXTRecordData(std::string_view record) {
    std::map<std::string, std::string> dictionary;
    std::set<std::string> seen;
    while (!record.empty()) {
        const auto length = static_cast<std::size_t>(static_cast<unsigned char>(record.front()));
        record.remove_prefix(1);
        if (length > record.size()) {
            break;
        }
        const std::string_view pair = record.substr(0, length);
        record.remove_prefix(length);
        const std::size_t equals = pair.find('=');
        const std::string_view key = pair.substr(0, equals);
        if (key.empty() || !seen.insert(asciiFolded(key)).second) {
            continue;
        }
        const std::string_view value =
            equals == std::string_view::npos ? std::string_view{} : pair.substr(equals + 1);
        dictionary.emplace(repairedUTF8(key), value);
    }
    return dictionary;
}

} // namespace AmbrelKit
