#include "AmbrelKit/Linux/NearbyDevices/AnnouncedServiceTypes.hpp"

#include "AmbrelKit/Linux/NearbyDevices/StackChoice.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

namespace {

class FollowedTypes final : public AnnouncedServiceTypes,
                            public StackChoice::Client,
                            public std::enable_shared_from_this<FollowedTypes> {
public:
    FollowedTypes(Appeared appeared, std::string domain, std::shared_ptr<StackChoice> discovery)
        : appeared_(std::move(appeared)), domain_(std::move(domain)),
          discovery_(std::move(discovery)) {}

    void follow() {
        discovery_->add(weak_from_this());
        stackChanged();
    }

    void stackChanged() override {
        search_.reset();
        if (const auto stack = discovery_->stack()) {
            search_ =
                stack->browse(metaType, domain_, weakly(weak_from_this(), &FollowedTypes::sighted));
        }
    }

private:
    void sighted(const Sighting& sighting) {
        if (!sighting.present || known_.size() == most) {
            return;
        }
        const auto type = avahiServiceType(sighting.service.name + "." + sighting.service.type);
        const auto isIt = [&](const std::string& known) { return isSameName(known, *type); };
        if (!type || typeOfInstances(*type) != *type || std::ranges::any_of(known_, isIt)) {
            return;
        }
        known_.push_back(*type);
        appeared_(*type);
    }

    Appeared appeared_;
    std::string domain_;
    std::shared_ptr<StackChoice> discovery_;
    std::shared_ptr<Lookup> search_;
    std::vector<std::string> known_;
};

} // namespace

std::shared_ptr<AnnouncedServiceTypes>
AnnouncedServiceTypes::start(Appeared appeared, const std::string& domain, MDNSStack mdns) {
    const auto types = std::make_shared<FollowedTypes>(std::move(appeared), avahiDomain(domain),
                                                       StackChoice::of(EventLoop::current(), mdns));
    types->follow();
    return types;
}

} // namespace AmbrelKit::Linux
