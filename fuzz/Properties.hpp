#ifndef AMBREL_FUZZ_PROPERTIES_HPP
#define AMBREL_FUZZ_PROPERTIES_HPP

#include "AmbrelKit/Platform/JSONText.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

// What must hold whatever the input is. Where it does not, the fuzzer stops and keeps the input.
namespace Fuzz {

/// `what` says what should hold.
inline void require(bool holds, const char* what, std::string_view text = {}) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s: %.*s\n", what, static_cast<int>(text.size()),
                     text.data());
        std::abort();
    }
}

/// That people may read it on a terminal: nothing in it is a command, but line breaks.
inline void requireHarmless(std::string_view text) {
    require(AmbrelKit::isValidUTF8(text), "it is UTF-8", text);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isC1 =
            byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        require((byte >= 0x20 || byte == '\n') && byte != 0x7F && !isC1,
                "nothing commands the terminal", text);
        for (const char* hidden : {"\u2028", "\u2029", "\u202e", "\u2066", "\u200b"}) {
            require(!text.substr(i).starts_with(hidden), "nothing is hidden", text);
        }
    }
}

inline void requireOneLine(std::string_view text) {
    requireHarmless(text);
    require(text.find('\n') == text.npos, "it is one line", text);
}

/// The dictionary that a text is; nothing where it is none.
inline std::optional<AmbrelKit::JSONDictionary> dictionaryOf(std::string_view text) {
    try {
        AmbrelKit::JSONValue value = AmbrelKit::readJSON(text);
        if (value.is_object()) {
            return std::move(value.get_ref<AmbrelKit::JSONDictionary&>());
        }
    } catch (const AmbrelKit::JSONTextError& error) {
        requireOneLine(error.what());
    }
    return std::nullopt;
}

/// The pieces of an input between separators.
inline std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return pieces;
}

/// Of a text that goes.
std::vector<std::string_view> split(std::string&& text, char separator) = delete;

/// Takes off its last byte, 0 where there is none: choices stand behind a text, which so stays
/// readable.
inline unsigned takeLast(std::string_view& text) {
    const unsigned byte = text.empty() ? 0 : static_cast<unsigned char>(text.back());
    text.remove_suffix(text.empty() ? 0 : 1);
    return byte;
}

/// While it lives, what the program writes to a stream goes into a text instead.
class Captured {
public:
    explicit Captured(std::ostream& stream) : stream_(stream), before_(stream.rdbuf(&text_)) {}
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;
    ~Captured() { stream_.rdbuf(before_); }

    [[nodiscard]] std::string text() const { return text_.str(); }

private:
    std::ostream& stream_;
    std::stringbuf text_;
    std::streambuf* before_;
};

/// A file or folder of this process, in memory, which an environment variable names.
class Scratch {
public:
    explicit Scratch(const char* variable) { setenv(variable, path.c_str(), 1); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() { std::filesystem::remove_all(path); }

    const std::filesystem::path path = "/dev/shm/ambrel-fuzz-" + std::to_string(getpid());
};

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace Fuzz

#endif
