#include "AmbrelKit/Linux/Location/GeoClueWatch.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <string_view>

namespace AmbrelKit::Linux {

std::shared_ptr<GeoClueWatch> GeoClueWatch::start(EventLoop& loop,
                                                  const std::shared_ptr<SystemBus>& bus,
                                                  std::function<void()> changed) {
    std::shared_ptr<GeoClueWatch> watch(
        new GeoClueWatch(bus, loop.shared<GeoClueVerdict>(), std::move(changed)));
    watch->verdict_->follow(watch->changed_);
    watch->name_ = NameWatch::start(bus, geoClueName, weakly(watch, &GeoClueWatch::ownerChanged));
    return watch;
}

/// It leaves when it is idle, to be started again.
void GeoClueWatch::ownerChanged(const std::string& owner) {
    question_.reset();
    if (owner.empty()) {
        question_ = bus_->call({"org.freedesktop.DBus", "/org/freedesktop/DBus",
                                "org.freedesktop.DBus", "ListActivatableNames"},
                               {}, weakly(weak_from_this(), &GeoClueWatch::namesReplied));
    }
    if (!question_) { // a lost bus says nothing
        present_ = present_ || !owner.empty();
        (*changed_)();
    }
}

void GeoClueWatch::namesReplied(sd_bus_message* reply) {
    question_.reset();
    eachText(reply, [this](std::string_view name) { present_ = present_ || name == geoClueName; });
    (*changed_)();
}

} // namespace AmbrelKit::Linux
