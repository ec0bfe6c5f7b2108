#ifndef AMBREL_SUMMARY_HPP
#define AMBREL_SUMMARY_HPP

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// What a line of `ambrel store list` says of a collection. A key that is missing or of another
/// type counts as nothing seen.
struct Summary {
    explicit Summary(const AmbrelKit::JSONDictionary& collection);

    /// A line of a table under `heading()`; `now` in seconds since 1970.
    [[nodiscard]] std::string row(double now) const;
    static std::string heading();

    /// The same as a dictionary; what is not known has no key.
    [[nodiscard]] AmbrelKit::JSONDictionary json() const;

    AmbrelKit::JSONValue timestamp; ///< null when it is no number
    std::size_t peripherals;
    std::size_t services;
    bool hasLocation;
    std::optional<std::string> address;
    std::vector<std::string> networks; ///< names of the joined Wi-Fi networks
};

} // namespace Ambrel

#endif
