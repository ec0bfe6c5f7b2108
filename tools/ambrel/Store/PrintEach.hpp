#ifndef AMBREL_PRINTEACH_HPP
#define AMBREL_PRINTEACH_HPP

#include "tools/ambrel/Arguments/TimeSpan.hpp"

#include <AmbrelKit/AmbrelStorage.hpp>
#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

/// As the function of Store.hpp, with each failure as one line on standard error. Returns whether
/// there was none.
bool forEachStored(const TimeSpan& span, const AmbrelKit::AmbrelStorage::Visitor& take);

/// What is printed of collections one after the other.
struct Listing {
    std::function<std::string(const AmbrelKit::JSONDictionary& collection)> text;
    std::string heading{};
    std::string ending{};
};

/// Likewise prints them, in larger pieces. An ending is not missing in a regular file when an
/// interruption ends the program.
bool printEach(const TimeSpan& span, const Listing& listing);

} // namespace Ambrel

#endif
