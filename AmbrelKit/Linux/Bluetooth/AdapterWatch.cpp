#include "AmbrelKit/Linux/Bluetooth/AdapterWatch.hpp"

#include "AmbrelKit/Linux/Bluetooth/Properties.hpp"

#include <array>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// The signals of one owner that can be about adapters.
constexpr std::array<const char*, 3> rules{
    "interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',"
    "arg0='org.bluez.Adapter1'",
    "interface='org.freedesktop.DBus.ObjectManager',member='InterfacesAdded'",
    "interface='org.freedesktop.DBus.ObjectManager',member='InterfacesRemoved'"};

} // namespace

std::shared_ptr<AdapterWatch> AdapterWatch::start(const std::shared_ptr<SystemBus>& bus,
                                                  std::function<void()> changed) {
    std::shared_ptr<AdapterWatch> watch(new AdapterWatch(bus, std::move(changed)));
    watch->name_ =
        NameWatch::start(bus, "org.bluez", [weak = std::weak_ptr(watch)](const std::string& owner) {
            if (const auto watch = weak.lock()) {
                watch->ownerChanged(owner);
            }
        });
    return watch;
}

void AdapterWatch::ownerChanged(const std::string& owner) {
    signals_.clear();
    question_.reset();
    facts_.answered = false;
    facts_.powered.clear();
    if (!owner.empty()) {
        for (const char* rule : rules) {
            signals_.push_back(bus_->match("type='signal',sender='" + owner + "'," + rule,
                                           [weak = weak_from_this()](sd_bus_message* signal) {
                                               if (const auto watch = weak.lock()) {
                                                   watch->received(signal);
                                               }
                                           }));
        }
        question_ =
            bus_->call({owner, "/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects"}, {},
                       [weak = weak_from_this()](sd_bus_message* reply) {
                           if (const auto watch = weak.lock()) {
                               watch->objectsReplied(reply);
                           }
                       });
    }
    changed_();
}

/// A BlueZ that has only just begun may answer with an error: its adapters come as signals then.
void AdapterWatch::objectsReplied(sd_bus_message* reply) {
    question_.reset();
    if (sd_bus_message_is_method_error(reply, SD_BUS_ERROR_ACCESS_DENIED) > 0) {
        facts_.permitted = false;
    } else if (sd_bus_message_is_method_error(reply, nullptr) == 0) {
        facts_.permitted = true;
        facts_.answered = true;
        readObjects(reply, [this](std::string_view path, const ObjectProperties& object) {
            if (object.adapter) {
                take(path, *object.adapter);
            }
        });
    }
    changed_();
}

void AdapterWatch::received(sd_bus_message* signal) {
    const std::string_view member = sd_bus_message_get_member(signal);
    if (member == "InterfacesRemoved") {
        const RemovedInterfaces removed = readRemoved(signal);
        if (!removed.adapter || facts_.powered.erase(std::string(removed.path)) == 0) {
            return;
        }
    } else {
        std::string_view path = sd_bus_message_get_path(signal);
        const auto object =
            member == "InterfacesAdded" ? readAdded(signal, path) : readChanges(signal);
        if (!object.adapter) {
            return;
        }
        take(path, *object.adapter);
    }
    changed_();
}

void AdapterWatch::take(std::string_view path, const AdapterProperties& read) {
    if (!read.powered && !facts_.powered.contains(std::string(path))) {
        return; // whether it is on, the answer will tell
    }
    facts_.answered = true;
    bool& powered = facts_.powered[std::string(path)];
    powered = read.powered.value_or(powered);
}

} // namespace AmbrelKit::Linux
