#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_RECORDBYTES_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_RECORDBYTES_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace AmbrelKit::Linux {

// Records as they stand in a datagram of multicast DNS, which begins at `begin`.

constexpr std::size_t headerLength = 12;

inline unsigned twoBytes(const std::uint8_t* at) { return unsigned{at[0]} << 8 | at[1]; }

/// Appends the name at `at`, without compression. The end of it there, or null.
const std::uint8_t* appendName(std::string& text, const std::uint8_t* begin,
                               const std::uint8_t* end, const std::uint8_t* at);

/// How many bytes precede the name in the data of a record, or nothing where there is none to be
/// written out.
std::optional<std::ptrdiff_t> bytesBeforeName(unsigned type);

/// Whether Avahi surely takes the name at `at`, which without compression is `wire`.
bool isOrdinaryName(const std::uint8_t* begin, const std::uint8_t* at, std::string_view wire);

/// Whether Avahi surely takes data like that of a record of the type.
bool isOrdinaryData(const std::uint8_t* begin, unsigned type, const std::uint8_t* data,
                    const std::uint8_t* end);

} // namespace AmbrelKit::Linux

#endif
