#include "AmbrelKit/Linux/Bluetooth/AdapterWatch.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

namespace AmbrelKit::Linux {

std::shared_ptr<AdapterWatch> AdapterWatch::start(const std::shared_ptr<EventLoop>& loop,
                                                  std::function<void()> changed) {
    std::shared_ptr<AdapterWatch> watch(new AdapterWatch(loop, std::move(changed)));
    watch->name_ = NameWatch::start(loop->shared<SystemBus>(), "org.bluez",
                                    weakly(watch, &AdapterWatch::ownerChanged));
    return watch;
}

void AdapterWatch::ownerChanged(const std::string& owner) {
    objects_.reset();
    if (!owner.empty()) {
        objects_ = BlueZObjects::follow(
            *loop_, loop_->shared<SystemBus>(), owner,
            {.adaptersChanged =
                 weakly(weak_from_this(), [](AdapterWatch& self, std::string_view /*discovery*/) {
                     self.permitted_ = !self.objects_->areRefused();
                     self.changed_();
                 })});
    }
    changed_();
}

} // namespace AmbrelKit::Linux
