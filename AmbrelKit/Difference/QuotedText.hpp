#ifndef AMBRELKIT_DIFFERENCE_QUOTEDTEXT_HPP
#define AMBRELKIT_DIFFERENCE_QUOTEDTEXT_HPP

#include <string>
#include <string_view>

namespace AmbrelKit::Differences {

/// `text` in quotation marks, on one line: different texts look different. Escapes (`\n`, `\u{e9}`,
/// and `\xff` for what is no UTF-8) stand for what commands a terminal, is not to be seen or has no
/// look of its own, and in a text that is not in the form NFC for all that is not ASCII.
std::string quoted(std::string_view text);

/// Likewise; what looks like a plain name stands as it is.
std::string nameOrQuoted(std::string_view text);

} // namespace AmbrelKit::Differences

#endif
