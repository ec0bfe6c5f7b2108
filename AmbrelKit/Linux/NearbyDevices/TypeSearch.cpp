#include "AmbrelKit/Linux/NearbyDevices/TypeSearch.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

namespace AmbrelKit::Linux {

TypeSearch::TypeSearch(std::shared_ptr<EventLoop> loop, MDNSStack mdns, std::string type,
                       std::string domain, Found found)
    : loop_(std::move(loop)), type_(std::move(type)), domain_(std::move(domain)),
      found_(std::move(found)), discovery_(StackChoice::of(loop_, mdns)) {}

std::shared_ptr<TypeSearch> TypeSearch::start(std::shared_ptr<EventLoop> loop, MDNSStack mdns,
                                              std::string type, std::string domain, Found found) {
    std::shared_ptr<TypeSearch> search(new TypeSearch(std::move(loop), mdns, std::move(type),
                                                      std::move(domain), std::move(found)));
    search->discovery_->add(search);
    search->stackChanged();
    return search;
}

void TypeSearch::stackChanged() {
    search_.reset();
    for (auto& [name, known] : known_) {
        known.places.clear();
    }
    if (const auto stack = discovery_->stack()) {
        search_ = stack->browse(type_, domain_, weakly(weak_from_this(), &TypeSearch::sighted));
    }
}

void TypeSearch::sighted(const Sighting& sighting) {
    const auto& [name, type, domain] = sighting.service;
    Known& known = known_[{name, domain}];
    if (!sighting.present) {
        known.places.erase({sighting.interface, sighting.protocol});
        known.present = !known.places.empty();
        return;
    }
    known.places.emplace(sighting.interface, sighting.protocol);
    auto service = known.service.lock();
    if (service) {
        service->seenOn(sighting.interface);
    } else if (!known.present) {
        service = FoundService::make(loop_, discovery_, {name, typeOfInstances(type_), domain},
                                     sighting.interface);
        known.service = service;
    }
    if (!std::exchange(known.present, true)) {
        found_(service);
    }
}

} // namespace AmbrelKit::Linux
