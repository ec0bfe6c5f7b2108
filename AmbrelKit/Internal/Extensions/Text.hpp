#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_TEXT_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_TEXT_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace AmbrelKit {

/// A text of a record: always valid UTF-8, kept as it was spelled, compared by canonical
/// equivalence. Two spellings of one text are equal, hash alike and sort as one; the order is that
/// of the code points after normalisation (NFC). Copies share the bytes.
class Text {
public:
    Text() = default;

    // From what the kit is given texts in; ill-formed UTF-8 is replaced by U+FFFD.
    // NOLINTBEGIN(google-explicit-constructor): a record is written down with plain texts
    AMBRELKIT_SEAM Text(std::string_view bytes);
    Text(const std::string& bytes) : Text(std::string_view(bytes)) {}
    Text(const char* bytes) : Text(std::string_view(bytes)) {}
    // NOLINTEND(google-explicit-constructor)

    /// The text as it was spelled.
    [[nodiscard]] std::string_view string() const {
        return memory_ ? std::string_view(memory_.get() + sizeof(Sizes), sizes().spelled)
                       : std::string_view();
    }

    /// The text normalised to NFC: what it is compared by.
    [[nodiscard]] std::string_view canonical() const {
        const std::string_view spelled = string();
        const std::uint32_t size = memory_ ? sizes().canonical : 0;
        return size == 0 ? spelled : std::string_view(spelled.data() + spelled.size(), size);
    }

    friend bool operator==(const Text& a, const Text& b) {
        return a.memory_ == b.memory_ || a.canonical() == b.canonical();
    }

    friend std::weak_ordering operator<=>(const Text& a, const Text& b) {
        return a.canonical() <=> b.canonical();
    }

private:
    struct Sizes {
        std::uint32_t spelled;
        std::uint32_t canonical; ///< 0 where it is what is spelled, as nearly always
    };

    [[nodiscard]] Sizes sizes() const {
        Sizes sizes{};
        std::memcpy(&sizes, memory_.get(), sizeof sizes);
        return sizes;
    }

    std::shared_ptr<const char[]> memory_; ///< sizes, bytes as spelled, NFC; null: the empty text
};

} // namespace AmbrelKit

template <> struct std::hash<AmbrelKit::Text> {
    std::size_t operator()(const AmbrelKit::Text& text) const noexcept {
        return std::hash<std::string_view>{}(text.canonical());
    }
};

#endif
