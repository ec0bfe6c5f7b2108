#ifndef AMBRELKIT_PLATFORM_JSONTEXT_HPP
#define AMBRELKIT_PLATFORM_JSONTEXT_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <cstddef>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace AmbrelKit {

/// A text is no JSON, or a value has no JSON form.
class AMBRELKIT_API JSONTextError : public std::runtime_error {
public:
    /// `reason` is one line; `byte` counts from 0.
    explicit JSONTextError(const std::string& reason, std::size_t byte = 0)
        : std::runtime_error(reason), byte_(byte) {}

    /// The first byte, counted from 1, that can't be JSON; 0 when it is not one byte's fault.
    [[nodiscard]] std::size_t byte() const { return byte_; }

private:
    std::size_t byte_;
};

/// How many arrays and dictionaries may stand inside one another, in both directions, so that what
/// is written can be read. To copy, write or compare a value takes some stack for each of them.
constexpr int greatestJSONDepth = 512;

/// In bytes, likewise: 16 MiB. A value takes up to thirty times the memory of its text.
constexpr std::size_t greatestJSONLength = std::size_t{1} << 24U;

/// The dictionary as compact UTF-8 text. Throws `JSONTextError` when it holds a number that is not
/// finite, text that is not UTF-8, bytes or a discarded value, or is beyond the bounds. On any
/// thread, as the next two.
AMBRELKIT_API std::string writeJSON(const JSONDictionary& dictionary);

/// The dictionary or array that `text` holds. Throws `JSONTextError` when it holds anything else,
/// or is beyond the bounds; these are checked before a value is made.
AMBRELKIT_API JSONValue readJSON(std::string_view text);

/// The next line of `input`, without its end, as `std::getline` gives it; false where there is
/// none. Throws `JSONTextError` when it is longer than JSON may be.
AMBRELKIT_API bool readJSONLine(std::istream& input, std::string& line);

} // namespace AmbrelKit

#endif
