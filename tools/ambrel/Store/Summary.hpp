#ifndef AMBREL_SUMMARY_HPP
#define AMBREL_SUMMARY_HPP

#include "tools/ambrel/Terminal/Table.hpp"

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <vector>

namespace Ambrel {

/// What a line of `ambrel store list` says of a collection. What is counted and is no list counts
/// as nothing seen; any other value is shown as it is.
struct Summary {
    explicit Summary(const AmbrelKit::JSONDictionary& collection);

    /// A row of a table with `columns()`; `now` in seconds since 1970.
    [[nodiscard]] std::vector<Cell> row(double now) const;
    static std::vector<Column> columns();

    /// The same as a dictionary; what is not known has no key.
    [[nodiscard]] AmbrelKit::JSONDictionary json() const;

    // Null where there is none.
    AmbrelKit::JSONValue timestamp;
    std::size_t peripherals;
    std::size_t services;
    bool hasLocation;
    AmbrelKit::JSONValue address;
    AmbrelKit::JSONValue networks; ///< the list of the names of the joined Wi-Fi networks
};

} // namespace Ambrel

#endif
