#include "AmbrelKit/Linux/Bluetooth/BlueZObjects.hpp"

#include "AmbrelKit/Linux/Bluetooth/Discovery.hpp"
#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// BlueZ forgets a device soon after it is gone, so this many are a daemon gone wrong: what comes
/// beyond is reported when it is added, and not kept.
constexpr std::size_t mostDevices = 10'000;

/// Who follows the adapters alone may do so for days, and soon leaves a daemon that only refuses in
/// peace.
constexpr Retry::Delays forAdapters{.first = Discovery::retryDelays.first,
                                    .longest = std::chrono::minutes(1)};

constexpr std::string_view objectsSignature = "a{oa{sa{sv}}}";

void takeAddress(BlueZDevice& device, const DeviceProperties& read) {
    auto address = device.address;
    const bool random = read.addressIsRandom.value_or(address && address->random);
    if (read.address) {
        address = HardwareAddress::parse(*read.address, random);
    } else if (address) {
        address->random = random;
    }
    if (address && address != device.address) {
        device.address = address;
        device.peripheral.identifier = peripheralIdentifier(*address);
    }
}

} // namespace

BlueZObjects::BlueZObjects(EventLoop& loop, const std::shared_ptr<SystemBus>& bus,
                           const std::string& daemon, Receivers receivers)
    : daemon_(bus, daemon), receivers_(std::move(receivers)),
      askAgain_(loop, receivers_.heard ? Discovery::retryDelays : forAdapters, [this] { ask(); }) {}

std::shared_ptr<BlueZObjects> BlueZObjects::follow(EventLoop& loop,
                                                   const std::shared_ptr<SystemBus>& bus,
                                                   const std::string& daemon, Receivers receivers) {
    std::shared_ptr<BlueZObjects> objects(
        new BlueZObjects(loop, bus, daemon, std::move(receivers)));
    objects->hear();
    objects->ask();
    return objects;
}

void BlueZObjects::hear() {
    const auto received = weakly(weak_from_this(), &BlueZObjects::received);
    if (receivers_.heard) {
        daemon_.hear("", received);
        return;
    }
    daemon_.hear("member='PropertiesChanged',arg0='org.bluez.Adapter1'", received);
    for (char number = '0'; number <= '9'; ++number) { // more adapters than any machine has
        daemon_.hear(std::string("interface='org.freedesktop.DBus.ObjectManager',"
                                 "arg0path='/org/bluez/hci") +
                         number + "'",
                     received);
    }
}

void BlueZObjects::ask() {
    daemon_.ask({"/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects"}, {},
                weakly(weak_from_this(), &BlueZObjects::replied));
}

void BlueZObjects::replied(sd_bus_message* reply) {
    if (isError(reply, SD_BUS_ERROR_ACCESS_DENIED)) {
        answer_ = Answer::refused;
    } else if (isError(reply)) {
        failed(isError(reply, SD_BUS_ERROR_NO_REPLY) ? "" : errorText(reply)); // that: it went
        return;
    } else if (std::string_view(sd_bus_message_get_signature(reply, 1)) != objectsSignature) {
        failed(std::string(unreadableAnswer));
        return;
    } else {
        answer_ = Answer::given;
        readObjects(reply, [this](std::string_view path, const ObjectProperties& object) {
            if (object.adapter) {
                take(path, *object.adapter);
            }
            if (object.device && receivers_.heard) {
                remember(path, *object.device); // heard at some time, by whomever: not reported
            }
        });
    }
    receivers_.adaptersChanged({});
}

void BlueZObjects::failed(std::string failure) {
    askAgain_.schedule();
    if (failure_ != failure && receivers_.heard) {
        failure_ = std::move(failure);
        receivers_.adaptersChanged({});
    }
}

void BlueZObjects::received(sd_bus_message* signal) {
    if (answer_ != Answer::given) {
        return; // the answer will tell
    }
    const std::string_view member = sd_bus_message_get_member(signal);
    if (member == "PropertiesChanged") {
        changed(sd_bus_message_get_path(signal), readChanges(signal));
    } else if (member == "InterfacesAdded") {
        std::string_view path;
        const ObjectProperties object = readAdded(signal, path);
        added(path, object);
    } else if (member == "InterfacesRemoved") {
        removed(readRemoved(signal));
    }
}

void BlueZObjects::added(std::string_view path, const ObjectProperties& object) {
    if (path.empty()) {
        return;
    }
    if (object.device && receivers_.heard) {
        tellIfHeard(path, *remember(path, *object.device));
    }
    if (object.adapter) {
        tellOfAdapter(path, *object.adapter);
    }
}

void BlueZObjects::changed(std::string_view path, const ObjectProperties& object) {
    if (object.device) {
        const auto known = devices_.find(path);
        if (known == devices_.end()) {
            return; // nothing says yet whose it is
        }
        const auto device = known->second;
        const bool flagsAreNew = object.device->hasAdvertisingFlags && !device->hasAdvertisingFlags;
        take(*device, *object.device);
        if (object.device->rssi || object.device->name || flagsAreNew) {
            tellIfHeard(path, *device);
        }
    } else if (object.adapter && adapters_.contains(path)) {
        tellOfAdapter(path, *object.adapter);
    }
}

void BlueZObjects::removed(const RemovedInterfaces& interfaces) {
    if (interfaces.device) {
        if (const auto known = devices_.find(interfaces.path); known != devices_.end()) {
            devices_.erase(known);
        }
    }
    if (interfaces.adapter) {
        if (const auto adapter = adapters_.find(interfaces.path); adapter != adapters_.end()) {
            adapters_.erase(adapter);
            receivers_.adaptersChanged({});
        }
    }
}

std::shared_ptr<BlueZDevice> BlueZObjects::remember(std::string_view path,
                                                    const DeviceProperties& read) {
    const auto device = std::make_shared<BlueZDevice>();
    take(*device, read);
    device->inquired = read.rssi && read.hasClass;
    if (devices_.size() < mostDevices) {
        devices_.insert_or_assign(std::string(path), device);
    }
    return device;
}

void BlueZObjects::take(BlueZDevice& device, const DeviceProperties& read) {
    takeAddress(device, read);
    if (read.name) {
        device.peripheral.name = *read.name;
    }
    device.advertisement.take(read);
    if (read.rssi || read.rssiInvalidated) {
        device.rssi = read.rssi;
    }
    device.hasAdvertisingFlags |= read.hasAdvertisingFlags;
    showsFlags_ |= read.hasAdvertisingFlags;
}

void BlueZObjects::take(std::string_view path, const AdapterProperties& read) {
    Adapter& adapter = adapters_[std::string(path)];
    adapter.powered = read.powered.value_or(adapter.powered);
    adapter.discovering = read.discovering.value_or(adapter.discovering);
}

void BlueZObjects::tellOfAdapter(std::string_view path, const AdapterProperties& read) {
    take(path, read);
    receivers_.adaptersChanged(read.discovering ? path : std::string_view());
}

/// Only Low Energy has random addresses, and flags of advertisements. A BlueZ that does not show
/// those leaves it to the class, which an inquiry brings with it: who had one when it was first
/// heard was heard by an inquiry, and what else is heard of it may be so, too.
void BlueZObjects::tellIfHeard(std::string_view path, const BlueZDevice& device) const {
    if (!device.rssi || !device.address) {
        return;
    }
    const bool advertises = device.address->random || device.hasAdvertisingFlags;
    if (advertises || (!showsFlags_ && !device.inquired)) {
        receivers_.heard(path, device);
    }
}

} // namespace AmbrelKit::Linux
