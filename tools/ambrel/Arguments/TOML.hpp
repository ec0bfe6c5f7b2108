#ifndef AMBREL_TOML_HPP
#define AMBREL_TOML_HPP

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel {

/// A key with its value in a text of TOML, or the heading of a table.
struct Setting {
    enum class Kind { table, flag, text, list };

    std::vector<std::string> path; ///< the tables that it stands in, and the key, if it has one
    Kind kind = Kind::text;
    std::vector<std::string> values; ///< a flag's is "true" or "false"; but in a list, one
    std::size_t line = 0;            ///< from 1
};

class TOMLError : public std::runtime_error {
public:
    TOMLError(std::size_t line, const std::string& reason)
        : std::runtime_error(reason), line_(line) {}

    [[nodiscard]] std::size_t line() const { return line_; }

private:
    std::size_t line_;
};

/// Reads what options need of TOML: tables, dotted keys, comments; true, false, numbers and dates
/// (as they are spelled), texts in either quotes on one line, and lists of all these but lists.
/// Throws `TOMLError` for anything else.
std::vector<Setting> readTOML(std::string_view text);

/// The text in quotes, as TOML; what would command a terminal is escaped.
std::string quotedForTOML(const std::string& text);

} // namespace Ambrel

#endif
