#ifndef AMBREL_REPORT_HPP
#define AMBREL_REPORT_HPP

#include "tools/ambrel/Report/Bins.hpp"
#include "tools/ambrel/Report/Places.hpp"
#include "tools/ambrel/Report/Things.hpp"

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// What many collections say together, in the form that the page of the report reads: counted, so
/// that its size and the memory that it takes are bounded, however many they are.
class Report {
public:
    /// Takes the next collection; they come in the order of their times. One that is out of order
    /// by itself is left out, as its file was renamed.
    void add(AmbrelKit::JSONDictionary collection);

    /// The members of the page's model that follow from the collections. Nothing is added after it.
    [[nodiscard]] AmbrelKit::JSONDictionary model();

private:
    /// What the sightings of one collection share.
    struct Here {
        CollectionMoment moment;
        const AmbrelKit::JSONDictionary& collection;
        std::optional<std::string> address;
        std::vector<std::string> networks;
    };

    struct Timed {
        std::int64_t time;
        AmbrelKit::JSONDictionary collection;
    };

    void count(const Timed& timed);
    std::size_t seePeripherals(const Here& here);
    std::size_t seeServices(const Here& here);
    void seeNetworks(const Here& here);
    bool seePlace(const Here& here);

    std::optional<Timed> newest_; ///< not counted yet: the next one may be earlier
    std::size_t collections_ = 0;
    std::size_t untimed_ = 0;
    std::int64_t first_ = 0;
    std::int64_t last_ = 0;
    std::size_t located_ = 0;
    std::size_t joined_ = 0;
    Week collectionsInWeek_{};
    Week peripheralsInWeek_{};
    Bins bins_;
    Things peripherals_{"id", "names"};
    Things services_{"", "addresses"};
    Things networks_{"name", "addresses"};
    Things addresses_{"address", "networks"};
    Places places_;
};

} // namespace Ambrel

#endif
