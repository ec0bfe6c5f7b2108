#include "AmbrelKit/Linux/Bluetooth/BlueZ.hpp"

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <algorithm>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// BlueZ forgets a device soon after it is gone, so this many are a daemon gone wrong: what comes
/// beyond is reported when it is added, and not kept.
constexpr std::size_t mostDevices = 10'000;

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

void take(BlueZDevice& device, const DeviceProperties& read) {
    takeAddress(device, read);
    if (read.name) {
        device.peripheral.name = *read.name;
    }
    if (read.services) {
        device.services = *read.services;
    }
    if (read.rssi || read.rssiInvalidated) {
        device.rssi = read.rssi;
    }
}

bool isUnder(std::string_view path, std::string_view parent) {
    return path.size() > parent.size() && path.starts_with(parent) && path[parent.size()] == '/';
}

} // namespace

BlueZ::BlueZ(const std::shared_ptr<EventLoop>& loop)
    : loop_(loop), bus_(loop->shared<SystemBus>()), askAgain_(*loop, retryDelays, [this] { askForObjects(); }) {}

std::shared_ptr<BlueZ> BlueZ::make(const std::shared_ptr<EventLoop>& loop) {
    std::shared_ptr<BlueZ> blueZ(new BlueZ(loop));
    const std::weak_ptr weak(blueZ);
    blueZ->discovery_ = Discovery::make(loop, [weak] {
        if (const auto blueZ = weak.lock()) {
            blueZ->denied_ = true;
            blueZ->update();
        }
    });
    blueZ->watch_ = NameWatch::start(blueZ->bus_, "org.bluez", [weak](const std::string& owner) {
        if (const auto blueZ = weak.lock()) {
            blueZ->ownerChanged(owner);
        }
    });
    return blueZ;
}

void BlueZ::follow(const std::shared_ptr<BlueZFollower>& follower) {
    followers_.emplace_back(follower);
}

void BlueZ::unfollow(const BlueZFollower& follower) {
    std::erase_if(followers_, [&](const auto& weak) {
        const auto one = weak.lock();
        return !one || one.get() == &follower;
    });
    wantsChanged();
}

void BlueZ::wantsChanged() {
    const bool wanted = std::ranges::any_of(followers_, [](const auto& weak) {
        const auto follower = weak.lock();
        return follower && follower->wantsScan();
    });
    if (wanted && !adapter_.empty() && !denied_) {
        discovery_->aim(Discovery::Place{owner_, adapter_});
    } else {
        discovery_->aim(std::nullopt);
    }
}

void BlueZ::ownerChanged(const std::string& owner) {
    discovery_->lost();
    owner_ = owner;
    signals_.reset();
    question_.reset();
    askAgain_.reset();
    answered_ = false;
    denied_ = false;
    adapters_.clear();
    adapter_.clear();
    devices_.clear();
    if (!owner_.empty()) {
        // By its unique name, which nobody else can bear, and ahead of the question.
        signals_ = bus_->match("type='signal',sender='" + owner_ + "'",
                               [weak = weak_from_this()](sd_bus_message* signal) {
                                   if (const auto blueZ = weak.lock()) {
                                       blueZ->received(signal);
                                   }
                               });
        askForObjects();
    }
    update();
}

void BlueZ::askForObjects() {
    question_ = bus_->call({owner_, "/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects"},
                           {}, [weak = weak_from_this()](sd_bus_message* reply) {
                               if (const auto blueZ = weak.lock()) {
                                   blueZ->objectsReplied(reply);
                               }
                           });
}

void BlueZ::objectsReplied(sd_bus_message* reply) {
    if (sd_bus_message_is_method_error(reply, SD_BUS_ERROR_ACCESS_DENIED) > 0) {
        denied_ = true;
    } else if (sd_bus_message_is_method_error(reply, nullptr) > 0) {
        askAgain_.schedule();
        return;
    } else {
        readObjects(reply, [this](std::string_view path, const ObjectProperties& object) {
            if (object.adapter) {
                adapterReported(path, *object.adapter);
            }
            if (object.device) {
                remember(path, *object.device); // heard at some time, by whomever: not reported
            }
        });
    }
    answered_ = true;
    answeredOnce_ = true;
    update();
}

void BlueZ::received(sd_bus_message* signal) {
    if (!answered_) {
        return; // the answer will tell
    }
    const std::string_view member = sd_bus_message_get_member(signal);
    if (member == "PropertiesChanged") {
        objectChanged(sd_bus_message_get_path(signal), readChanges(signal));
    } else if (member == "InterfacesAdded") {
        std::string_view path;
        const ObjectProperties object = readAdded(signal, path);
        objectAdded(path, object);
    } else if (member == "InterfacesRemoved") {
        objectRemoved(readRemoved(signal));
    }
}

void BlueZ::objectAdded(std::string_view path, const ObjectProperties& object) {
    if (object.device) {
        heard(path, remember(path, *object.device));
    }
    if (object.adapter) {
        adapterReported(path, *object.adapter);
        update();
    }
}

void BlueZ::objectChanged(std::string_view path, const ObjectProperties& object) {
    if (object.device) {
        const auto known = devices_.find(path);
        if (known == devices_.end()) {
            return; // nothing says yet whose it is
        }
        const auto device = known->second;
        take(*device, *object.device);
        if (object.device->rssi || object.device->name) {
            heard(path, device);
        }
    } else if (object.adapter && adapters_.contains(path)) {
        adapterReported(path, *object.adapter);
        update();
    }
}

void BlueZ::objectRemoved(const RemovedInterfaces& removed) {
    if (removed.device) {
        if (const auto known = devices_.find(removed.path); known != devices_.end()) {
            devices_.erase(known);
        }
    }
    if (removed.adapter) {
        if (const auto adapter = adapters_.find(removed.path); adapter != adapters_.end()) {
            adapters_.erase(adapter);
            update();
        }
    }
}

std::shared_ptr<BlueZDevice> BlueZ::remember(std::string_view path, const DeviceProperties& read) {
    const auto device = std::make_shared<BlueZDevice>();
    take(*device, read);
    if (devices_.size() < mostDevices) {
        devices_.insert_or_assign(std::string(path), device);
    }
    return device;
}

void BlueZ::adapterReported(std::string_view path, const AdapterProperties& read) {
    Adapter& adapter = adapters_[std::string(path)];
    adapter.powered = read.powered.value_or(adapter.powered);
    if (read.discovering) {
        adapter.discovering = *read.discovering;
        if (path == adapter_) {
            discovery_->reported(adapter.discovering);
        }
    }
}

void BlueZ::heard(std::string_view path, const std::shared_ptr<const BlueZDevice>& device) {
    const bool here = !adapter_.empty() && isUnder(path, adapter_);
    if (here && device->rssi && device->address) {
        tellFollowers([&](BlueZFollower& follower) { follower.blueZHeard(*device); });
    }
}

void BlueZ::update() {
    chooseAdapter();
    const auto before = std::exchange(state_, currentState());
    if (before != state_) {
        tellFollowers([](BlueZFollower& follower) { follower.blueZStateChanged(); });
    }
    wantsChanged();
}

void BlueZ::chooseAdapter() {
    const auto used = adapters_.find(adapter_);
    if (used != adapters_.end() && used->second.powered) {
        return;
    }
    if (!adapter_.empty()) {
        discovery_->lost();
    }
    const auto powered =
        std::ranges::find_if(adapters_, [](const auto& entry) { return entry.second.powered; });
    adapter_.clear();
    if (powered != adapters_.end()) {
        adapter_ = powered->first;
        discovery_->reported(powered->second.discovering);
    }
}

BluetoothManagerState BlueZ::currentState() const {
    using enum BluetoothManagerState;
    if (denied_) {
        return unauthorized;
    }
    if (!answered_ && answeredOnce_) {
        return resetting;
    }
    if (!answered_) {
        return owner_.empty() ? unsupported : state_;
    }
    if (adapters_.empty()) {
        return unsupported;
    }
    return adapter_.empty() ? poweredOff : poweredOn;
}

template <class Tell> void BlueZ::tellFollowers(const Tell& tell) {
    const auto followers = followers_;
    for (const auto& weak : followers) {
        if (const auto follower = weak.lock()) {
            loop_->guarded([&] { tell(*follower); });
        }
    }
}

} // namespace AmbrelKit::Linux
