#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_DOUBLETEXT_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_DOUBLETEXT_HPP

#include <optional>
#include <string>
#include <string_view>

namespace AmbrelKit {

/// The standard text of a double: the fewest digits that read back as the same value. Decimal with
/// at least one digit after the point from 0.0001 to 2^53 (`0.5`, `1700000000.0`, `-0.0`),
/// exponential with at least two digits of exponent outside (`1e-05`, `9.007199254740994e+15`);
/// `inf`, `-inf`, `nan`.
std::string doubleText(double number);

/// The finite double whose standard text is exactly `text`; nothing for any other text.
std::optional<double> doubleOfText(std::string_view text);

} // namespace AmbrelKit

#endif
