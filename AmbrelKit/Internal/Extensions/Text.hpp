#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_TEXT_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_TEXT_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <compare>
#include <functional>
#include <string>
#include <string_view>

namespace AmbrelKit {

/// A text of a record: always valid UTF-8, kept as it was spelled, compared by canonical
/// equivalence. Two spellings of one text are equal, hash alike and sort as one; the order is that
/// of the code points after normalisation (NFC).
class Text {
public:
    Text() = default;

    // From what the kit is given texts in; ill-formed UTF-8 is replaced by U+FFFD.
    // NOLINTBEGIN(google-explicit-constructor): a record is written down with plain texts
    AMBRELKIT_SEAM Text(std::string bytes);
    Text(std::string_view bytes) : Text(std::string(bytes)) {}
    Text(const char* bytes) : Text(std::string(bytes)) {}
    // NOLINTEND(google-explicit-constructor)

    /// The text as it was spelled.
    [[nodiscard]] const std::string& string() const { return spelled_; }

    /// The text normalised to NFC: what it is compared by.
    [[nodiscard]] std::string_view canonical() const {
        return canonical_.empty() ? spelled_ : canonical_;
    }

    friend bool operator==(const Text& a, const Text& b) { return a.canonical() == b.canonical(); }

    friend std::weak_ordering operator<=>(const Text& a, const Text& b) {
        return a.canonical() <=> b.canonical();
    }

private:
    std::string spelled_;
    std::string canonical_; ///< empty where it is what is spelled, as nearly always
};

} // namespace AmbrelKit

template <> struct std::hash<AmbrelKit::Text> {
    std::size_t operator()(const AmbrelKit::Text& text) const noexcept {
        return std::hash<std::string_view>{}(text.canonical());
    }
};

#endif
