#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_TYPESEARCH_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_TYPESEARCH_HPP

#include "AmbrelKit/Linux/NearbyDevices/FoundService.hpp"

#include <map>
#include <set>
#include <utility>

namespace AmbrelKit::Linux {

/// A search for services of one type. Avahi reports a service once for each interface and protocol;
/// `found` is told once, until the service has gone from all of them and comes again.
class TypeSearch final : public StackChoice::Client,
                         public std::enable_shared_from_this<TypeSearch> {
public:
    using Found = std::function<void(const std::shared_ptr<NetService>&)>;

    /// `type` and `domain` in Avahi's notation.
    [[nodiscard]] static std::shared_ptr<TypeSearch> start(std::shared_ptr<EventLoop> loop,
                                                           MDNSStack mdns, std::string type,
                                                           std::string domain, Found found);

    [[nodiscard]] const std::string& type() const { return type_; }

    void stackChanged() override;

private:
    struct Known {
        std::weak_ptr<FoundService> service;
        std::set<std::pair<int, int>> places; // interface and protocol
        bool present = false;                 // stays true when places are forgotten with a stack
    };

    TypeSearch(std::shared_ptr<EventLoop> loop, MDNSStack mdns, std::string type,
               std::string domain, Found found);
    void sighted(const Sighting& sighting);

    std::shared_ptr<EventLoop> loop_;
    std::string type_;
    std::string domain_;
    Found found_;
    std::shared_ptr<StackChoice> discovery_;
    std::shared_ptr<Lookup> search_;
    std::map<std::pair<std::string, std::string>, Known> known_; // by name and domain
};

} // namespace AmbrelKit::Linux

#endif
