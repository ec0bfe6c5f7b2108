#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utf8proc.h>

namespace Ambrel {

namespace {

struct Piece {
    std::size_t bytes = 0;
    std::size_t width = 0; ///< in columns
};

/// The character that `text` begins with; 0 where it begins with none.
Piece firstCharacter(std::string_view text, utf8proc_int32_t& character) {
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &character);
    if (length <= 0) {
        character = 0;
        return {.bytes = std::min<std::size_t>(text.size(), 1)};
    }
    return {.bytes = static_cast<std::size_t>(length),
            .width = static_cast<std::size_t>(utf8proc_charwidth(character))};
}

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

Piece firstCluster(std::string_view text) {
    if (isASCII(text.substr(0, 2))) { // as most are
        return {.bytes = std::min<std::size_t>(text.size(), 1), .width = 1};
    }
    constexpr std::size_t wide = 2;
    constexpr utf8proc_int32_t asEmoji = 0xFE0F;
    utf8proc_int32_t last = 0;
    Piece cluster = firstCharacter(text, last);
    utf8proc_int32_t state = 0;
    while (cluster.bytes < text.size()) {
        utf8proc_int32_t next = 0;
        const Piece character = firstCharacter(text.substr(cluster.bytes), next);
        if (utf8proc_grapheme_break_stateful(last, next, &state)) {
            break;
        }
        cluster.bytes += character.bytes;
        cluster.width = next == asEmoji ? wide : std::min(wide, cluster.width + character.width);
        last = next;
    }
    return cluster;
}

/// As much of the beginning of `text` as fits, in whole clusters.
std::string_view fitting(std::string_view text, std::size_t columns) {
    std::size_t bytes = 0;
    std::size_t width = 0;
    while (bytes < text.size()) {
        const Piece cluster = firstCluster(text.substr(bytes));
        if (width + cluster.width > columns) {
            break;
        }
        bytes += cluster.bytes;
        width += cluster.width;
    }
    return text.substr(0, bytes);
}

/// Adds a word that is longer than a line.
void addBroken(std::vector<std::string>& lines, std::string_view word, std::size_t columns) {
    while (!word.empty()) {
        const std::size_t bytes = std::max(fitting(word, columns).size(), firstCluster(word).bytes);
        lines.emplace_back(word.substr(0, bytes));
        word.remove_prefix(bytes);
    }
}

/// The parts of `text` between spaces.
std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        if (!word.empty()) {
            words.emplace_back(word);
        }
        text.remove_prefix(std::min(word.size() + 1, text.size()));
    }
    return words;
}

} // namespace

std::string shown(const AmbrelKit::JSONValue& value) {
    if (value.is_null()) {
        return "-";
    }
    return printable(value.is_string() ? value.get_ref<const std::string&>() : value.dump());
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const Piece cluster = firstCluster(text);
        width += cluster.width;
        text.remove_prefix(cluster.bytes);
    }
    return width;
}

std::string cut(std::string_view text, std::size_t columns) {
    if (columns == 0 || fitting(text, columns).size() == text.size()) {
        return std::string(columns == 0 ? "" : text);
    }
    const std::string_view kept = fitting(text, columns - 1);
    const auto end = kept.find_last_not_of(' ');
    return std::string(kept.substr(0, end == kept.npos ? 0 : end + 1)) + "…";
}

std::string ending(std::string_view text, std::size_t columns) {
    std::size_t width = displayWidth(text);
    if (width <= columns) {
        return std::string(text);
    }
    while (width >= columns && !text.empty()) {
        const Piece cluster = firstCluster(text);
        width -= cluster.width;
        text.remove_prefix(cluster.bytes);
    }
    return columns == 0 ? "" : "…" + std::string(text);
}

std::string padding(std::string_view text, std::size_t width) {
    const std::size_t taken = displayWidth(text);
    return std::string(taken < width ? width - taken : 0, ' ');
}

std::vector<std::string> lines(const std::vector<std::string>& words, std::string_view gap,
                               std::size_t columns) {
    std::vector<std::string> result;
    std::size_t column = columns; // behind the last line
    for (const std::string& word : words) {
        const std::size_t width = displayWidth(word);
        const std::size_t needed = width + displayWidth(gap);
        if (!result.empty() && column <= columns && needed <= columns - column) {
            result.back().append(gap).append(word);
            column += needed;
            continue;
        }
        if (width <= columns) {
            result.push_back(word);
        } else if (const auto parts = wordsOf(word); parts.size() > 1) {
            const auto broken = lines(parts, " ", columns);
            result.insert(result.end(), broken.begin(), broken.end());
        } else {
            addBroken(result, word, columns);
        }
        column = displayWidth(result.back());
    }
    return result;
}

std::string fittedHelp(const std::string& text, std::size_t columns) {
    constexpr std::size_t below = 8; // the indentation there
    std::string result;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);) {
        const std::size_t start = std::min(line.find_first_not_of(' '), line.size());
        const std::size_t end = std::min(line.find("  ", start), line.size());
        const std::size_t second = std::min(line.find_first_not_of(' ', end), line.size());
        const bool hasRoom = second == line.size() || second <= columns / 2;
        if (hasRoom && displayWidth(line) <= columns) {
            result += line + "\n";
            continue;
        }
        const bool hasTwo = second < line.size();
        result += hasTwo ? line.substr(0, hasRoom ? second : end) + (hasRoom ? "" : "\n") : "";
        const std::size_t indentation = !hasTwo ? start : hasRoom ? second : below;
        bool goesOn = hasTwo && hasRoom; // behind the first column
        for (const std::string& each : lines(wordsOf(line.substr(hasTwo ? second : start)), " ",
                                             columns - std::min(columns - 1, indentation))) {
            result += (goesOn ? "" : std::string(indentation, ' ')) + each + "\n";
            goesOn = false;
        }
    }
    return result;
}

} // namespace Ambrel
