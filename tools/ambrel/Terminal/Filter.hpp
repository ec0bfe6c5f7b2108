#ifndef AMBREL_FILTER_HPP
#define AMBREL_FILTER_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Ambrel {

/// The same for texts that differ in case or in how they are composed; an ill-formed one as it is.
std::string folded(const std::string& text);

/// What is printed of the peripherals and services of a collection.
class Filter {
public:
    /// Lets everything through.
    Filter() = default;

    /// Only services of one of the types: upper case and a trailing dot make no difference.
    void setTypes(std::vector<std::string> types);
    /// Only what has one of the texts in its name, in upper or lower case.
    void setNames(const std::vector<std::string>& names);

    [[nodiscard]] bool letsAllThrough() const { return types_.empty() && names_.empty(); }
    [[nodiscard]] bool letsThrough(const AmbrelKit::JSONValue& sighting) const;

private:
    std::vector<std::string> types_;
    std::vector<std::string> names_;
};

/// The dictionary with what the filter lets through.
AmbrelKit::JSONDictionary filtered(AmbrelKit::JSONDictionary dictionary, const Filter& filter);

} // namespace Ambrel

#endif
