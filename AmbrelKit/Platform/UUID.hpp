#ifndef AMBRELKIT_PLATFORM_UUID_HPP
#define AMBRELKIT_PLATFORM_UUID_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace AmbrelKit {

/// A 128-bit universally unique identifier. A plain value: any thread, no ownership.
class UUID {
public:
    /// As in RFC 4122, the first byte first.
    using Bytes = std::array<std::uint8_t, 16>;

    /// The nil identifier, all bytes zero.
    constexpr UUID() = default;

    /// The identifier with these bytes, most significant first.
    constexpr explicit UUID(const Bytes& bytes) : bytes_(bytes) {}

    /// The identifier that `text` spells: 36 characters, hexadecimal digits of either case in
    /// groups of 8-4-4-4-12 joined by hyphens. Anything else gives nothing.
    AMBRELKIT_API static std::optional<UUID> parse(std::string_view text);

    /// A new random identifier (version 4), from the system's random source. Throws
    /// std::system_error where that gives nothing.
    AMBRELKIT_API static UUID random();

    /// The canonical text: 36 characters, upper-case hexadecimal digits.
    [[nodiscard]] AMBRELKIT_API std::string text() const;

    /// Its bytes.
    [[nodiscard]] constexpr const Bytes& bytes() const { return bytes_; }

    /// The order of the canonical texts, which is that of the bytes.
    constexpr auto operator<=>(const UUID&) const = default;

private:
    Bytes bytes_{};
};

} // namespace AmbrelKit

/// Equal identifiers have equal hashes, the same in each process.
template <> struct std::hash<AmbrelKit::UUID> {
    /// Of all its bytes.
    AMBRELKIT_API std::size_t operator()(const AmbrelKit::UUID& uuid) const noexcept;
};

#endif
