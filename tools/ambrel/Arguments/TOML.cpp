#include "tools/ambrel/Arguments/TOML.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace Ambrel {

using AmbrelKit::JSONValue;

namespace {

constexpr std::string_view keyCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
constexpr std::string_view numberCharacters = "+-.:0123456789eETZtz_";
constexpr std::string_view byteOrderMark = "\xef\xbb\xbf"; // some editors begin a text with it
constexpr std::size_t deepest = 16;                        // keys; no command needs as many

class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    std::vector<Setting> read() {
        std::vector<std::string> table;
        text_.remove_prefix(text_.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
        for (skipBlank(); !text_.empty(); skipBlank()) {
            if (take('[')) {
                table = path();
                settings_.push_back(
                    {.path = table, .kind = Setting::Kind::table, .values = {}, .line = line_});
                expect(']', "the name of a table ends with ]");
            } else {
                settings_.push_back({.path = table, .values = {}, .line = line_});
                for (std::string& key : path()) {
                    settings_.back().path.push_back(std::move(key));
                }
                expect('=', "a key and = are expected");
                readValue(settings_.back());
            }
            endLine();
        }
        return std::move(settings_);
    }

private:
    [[noreturn]] void fail(const std::string& reason) const { throw TOMLError(line_, reason); }

    [[nodiscard]] bool isAt(char c) const { return text_.starts_with(c); }

    bool take(char c) {
        const bool taken = isAt(c);
        text_.remove_prefix(taken ? 1 : 0);
        return taken;
    }

    std::string_view takeAll(std::string_view characters) {
        const auto taken = text_.substr(0, text_.find_first_not_of(characters));
        text_.remove_prefix(taken.size());
        return taken;
    }

    void expect(char c, const char* reason) {
        takeAll(" \t");
        if (!take(c)) {
            fail(reason);
        }
        takeAll(" \t");
    }

    void skipComment() {
        takeAll(" \t\r");
        if (isAt('#')) {
            text_.remove_prefix(std::min(text_.find('\n'), text_.size()));
        }
    }

    void skipBlank() {
        for (skipComment(); take('\n'); skipComment()) {
            ++line_;
        }
    }

    void endLine() {
        skipComment();
        if (!text_.empty() && !isAt('\n')) {
            fail("nothing more is expected on this line");
        }
    }

    std::vector<std::string> path() {
        std::vector<std::string> keys;
        do {
            takeAll(" \t");
            keys.push_back(isAt('"') || isAt('\'') ? quoted()
                                                   : std::string(takeAll(keyCharacters)));
            if (keys.back().empty()) {
                fail("a key is expected");
            }
            if (keys.size() > deepest) {
                fail("no setting lies as deep");
            }
            takeAll(" \t");
        } while (take('.'));
        return keys;
    }

    void readValue(Setting& setting) {
        if (!take('[')) {
            const bool isText = isAt('"') || isAt('\'');
            setting.values.push_back(single());
            const bool isFlag = setting.values[0] == "true" || setting.values[0] == "false";
            setting.kind = isFlag && !isText ? Setting::Kind::flag : Setting::Kind::text;
            return;
        }
        setting.kind = Setting::Kind::list;
        for (skipBlank(); !take(']'); skipBlank()) {
            setting.values.push_back(single());
            skipBlank();
            if (!take(',') && !isAt(']')) {
                fail("a list goes on with , or ends with ]");
            }
        }
    }

    std::string single() {
        if (isAt('"') || isAt('\'')) {
            return quoted();
        }
        for (const std::string_view flag : {"true", "false"}) {
            if (text_.starts_with(flag)) {
                text_.remove_prefix(flag.size());
                return std::string(flag);
            }
        }
        std::string number(takeAll(numberCharacters));
        if (number.find_first_of("0123456789") == number.npos || !takeAll(keyCharacters).empty()) {
            fail("a value is expected: true, false, a decimal number, a text in quotes, or a list");
        }
        std::erase(number, '_'); // between its digits
        return number;
    }

    /// Its escapes are those of JSON.
    std::string quoted() {
        const char quote = text_.front();
        std::size_t end = 1;
        while (end < text_.size() && text_[end] != quote && text_[end] != '\n') {
            end += text_[end] == '\\' && quote == '"' ? 2 : 1;
        }
        if (end >= text_.size() || text_[end] != quote) {
            fail("a text ends in its line with the quote that it begins with");
        }
        const auto inQuotes = text_.substr(0, end + 1);
        text_.remove_prefix(inQuotes.size());
        const auto inner = inQuotes.substr(1, end - 1);
        if (inner.empty() && isAt(quote)) {
            fail("a text stands on one line, with one quote on either side");
        }
        const JSONValue json = quote == '"' ? JSONValue::parse(inQuotes, nullptr, false)
                                            : JSONValue(std::string(inner));
        if (!json.is_string() || !AmbrelKit::isValidUTF8(inner) ||
            json.get_ref<const std::string&>().find('\0') != std::string::npos) {
            fail("this is no text of TOML");
        }
        return json;
    }

    std::string_view text_; ///< what is left of it
    std::size_t line_ = 1;
    std::vector<Setting> settings_;
};

} // namespace

std::vector<Setting> readTOML(std::string_view text) { return Reader(text).read(); }

std::string quotedForTOML(const std::string& text) {
    return AmbrelKit::printableJSON(JSONValue(text).dump());
}

} // namespace Ambrel
