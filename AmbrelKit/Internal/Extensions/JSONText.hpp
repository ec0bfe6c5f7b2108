#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_JSONTEXT_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_JSONTEXT_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <stdexcept>
#include <string>
#include <string_view>

namespace AmbrelKit {

/// A text is no JSON, or a value has no JSON form.
class JSONTextError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How many arrays and dictionaries may stand inside one another, in both directions. Whatever is
/// read can thus be copied, written and compared without exhausting the stack.
constexpr int greatestJSONDepth = 512;

/// The dictionary as compact UTF-8 text. Throws `JSONTextError` when it holds a number that is not
/// finite, text that is not UTF-8, bytes or a discarded value, or is too deep.
std::string writeJSON(const JSONDictionary& dictionary);

/// The one value that `text` holds. Throws `JSONTextError` when it is no JSON or too deep.
JSONValue readJSON(std::string_view text);

} // namespace AmbrelKit

#endif
