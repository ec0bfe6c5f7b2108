#include "tests/support/FakeBlueZ.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr const char* adapterInterface = "org.bluez.Adapter1";
constexpr const char* deviceInterface = "org.bluez.Device1";

void check(int result) {
    if (result < 0) {
        throw std::runtime_error(std::string("fake BlueZ: ") + std::strerror(-result));
    }
}

/// Any text that D-Bus allows, of which sd_bus_message_append takes fewer.
void appendTextValue(sd_bus_message* message, const char* key, const std::string& text) {
    char* space = nullptr;
    check(sd_bus_message_open_container(message, 'e', "sv"));
    check(sd_bus_message_append(message, "s", key));
    check(sd_bus_message_open_container(message, 'v', "s"));
    check(sd_bus_message_append_string_space(message, text.size(), &space));
    std::ranges::copy(text, space);
    check(sd_bus_message_close_container(message));
    check(sd_bus_message_close_container(message));
}

/// An object path and its one interface, as GetManagedObjects and InterfacesAdded have them.
void appendObject(sd_bus_message* message, const std::string& path, const char* interface,
                  const FakeBlueZ::Fill& properties) {
    check(sd_bus_message_append(message, "o", path.c_str()));
    check(sd_bus_message_open_container(message, 'a', "{sa{sv}}"));
    check(sd_bus_message_open_container(message, 'e', "sa{sv}"));
    check(sd_bus_message_append(message, "s", interface));
    check(sd_bus_message_open_container(message, 'a', "{sv}"));
    properties(message);
    for (int i = 0; i < 3; ++i) {
        check(sd_bus_message_close_container(message));
    }
}

FakeBlueZ::Fill adapterFill(bool powered, bool discovering) {
    return [=](sd_bus_message* message) {
        check(sd_bus_message_append(message, "{sv}", "Powered", "b", powered ? 1 : 0));
        check(sd_bus_message_append(message, "{sv}", "Discovering", "b", discovering ? 1 : 0));
    };
}

FakeBlueZ::Fill deviceFill(const FakeBlueZ::Device& device) {
    return [&device](sd_bus_message* message) {
        appendTextValue(message, "Address", device.address);
        appendTextValue(message, "AddressType", device.random ? "random" : "public");
        std::string alias = device.name.value_or(device.address);
        std::ranges::replace(alias, ':', '-');
        appendTextValue(message, "Alias", alias);
        if (device.name) {
            appendTextValue(message, "Name", *device.name);
        }
        if (device.rssi) {
            check(sd_bus_message_append(message, "{sv}", "RSSI", "n", *device.rssi));
        }
        if (device.classOfDevice) {
            check(sd_bus_message_append(message, "{sv}", "Class", "u", 0x240404U));
        }
        if (device.flags) {
            check(sd_bus_message_append(message, "{sv}", "AdvertisingFlags", "ay", 1, 6));
        }
        if (device.service) {
            check(
                sd_bus_message_append(message, "{sv}", "UUIDs", "as", 1, device.service->c_str()));
        }
    };
}

} // namespace

std::string FakeBlueZ::path(const std::string& adapter, const std::string& address) {
    std::string path = "/org/bluez/" + adapter + (address.empty() ? "" : "/dev_" + address);
    std::ranges::replace(path, ':', '_');
    return path;
}

void FakeBlueZ::start() {
    check(sd_bus_open_system(&bus_));
    check(sd_bus_add_filter(bus_, nullptr, &received, this));
    check(sd_bus_add_match(
        bus_, nullptr, "sender='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''",
        [](sd_bus_message*, void*, sd_bus_error*) { return 0; }, nullptr));
    check(sd_bus_request_name(bus_, "org.bluez", 0));
    check(sd_bus_attach_event(bus_, loop_, 0));
}

void FakeBlueZ::stop() {
    for (auto* call : std::exchange(waiting_, {})) {
        sd_bus_message_unref(call);
    }
    adapters_.clear();
    if (bus_ != nullptr) {
        sd_bus_detach_event(bus_);
        bus_ = sd_bus_close_unref(bus_);
    }
}

void FakeBlueZ::plug(const std::string& adapter, bool powered) {
    adapters_[adapter] = {.powered = powered};
    signal("InterfacesAdded", "/", [&](sd_bus_message* message) {
        appendObject(message, path(adapter), adapterInterface, adapterFill(powered, false));
    });
}

void FakeBlueZ::unplug(const std::string& adapter) {
    power(adapter, false);
    for (const auto& [address, device] : std::map(adapters_.at(adapter).devices)) {
        remove(adapter, address);
    }
    adapters_.erase(adapter);
    signal("InterfacesRemoved", "/",
           filling("oas", path(adapter).c_str(), 2, "org.bluez.Media1", adapterInterface));
}

void FakeBlueZ::power(const std::string& adapter, bool powered) {
    adapters_.at(adapter).powered = powered;
    adapters_.at(adapter).discoverers.clear();
    adapterChanged(adapter);
}

void FakeBlueZ::adapterChanged(const std::string& name) {
    const Adapter& adapter = adapters_.at(name);
    signal("PropertiesChanged", path(name),
           filling("sa{sv}as", adapterInterface, 2, "Discovering", "b",
                   adapter.discoverers.empty() ? 0 : 1, "Powered", "b", adapter.powered ? 1 : 0,
                   0));
}

void FakeBlueZ::add(const std::string& adapter, const Device& device) {
    adapters_.at(adapter).devices[device.address] = device;
    signal("InterfacesAdded", "/", [&](sd_bus_message* message) {
        appendObject(message, path(adapter, device.address), deviceInterface, deviceFill(device));
    });
}

void FakeBlueZ::remove(const std::string& adapter, const std::string& address) {
    adapters_.at(adapter).devices.erase(address);
    signal("InterfacesRemoved", "/",
           filling("oas", path(adapter, address).c_str(), 1, deviceInterface));
}

void FakeBlueZ::heard(const std::string& adapter, const std::string& address, int rssi) {
    adapters_.at(adapter).devices.at(address).rssi = rssi;
    changed(adapter, address, filling("a{sv}as", 1, "RSSI", "n", rssi, 0));
}

void FakeBlueZ::named(const std::string& adapter, const std::string& address,
                      const std::string& name) {
    adapters_.at(adapter).devices.at(address).name = name;
    changed(adapter, address, [&](sd_bus_message* message) {
        check(sd_bus_message_open_container(message, 'a', "{sv}"));
        appendTextValue(message, "Name", name);
        appendTextValue(message, "Alias", name);
        check(sd_bus_message_close_container(message));
        check(sd_bus_message_append(message, "as", 0));
    });
}

void FakeBlueZ::changed(const std::string& adapter, const std::string& address, const Fill& fill) {
    signal("PropertiesChanged", path(adapter, address), [&](sd_bus_message* message) {
        check(sd_bus_message_append(message, "s", deviceInterface));
        fill(message);
    });
}

void FakeBlueZ::signal(const char* member, const std::string& path, const Fill& fill,
                       sd_bus* sender, const char* destination) {
    const std::string interface =
        std::string("org.freedesktop.DBus.") + (path == "/" ? "ObjectManager" : "Properties");
    sd_bus* const bus = sender != nullptr ? sender : bus_;
    sd_bus_message* message = nullptr;
    check(sd_bus_message_new_signal(bus, &message, path.c_str(), interface.c_str(), member));
    if (destination != nullptr) {
        check(sd_bus_message_set_destination(message, destination));
    }
    fill(message);
    check(sd_bus_send(bus, message, nullptr));
    sd_bus_message_unref(message);
}

void FakeBlueZ::release() {
    held_.clear();
    for (auto* call : std::exchange(waiting_, {})) {
        answer(call);
        sd_bus_message_unref(call);
    }
}

std::set<std::string> FakeBlueZ::discoverers(const std::string& adapter) const {
    const auto found = adapters_.find(adapter);
    return found != adapters_.end() ? found->second.discoverers : std::set<std::string>();
}

int FakeBlueZ::received(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    auto* fake = static_cast<FakeBlueZ*>(self);
    const char* client = nullptr;
    if (sd_bus_message_is_signal(message, nullptr, "NameOwnerChanged") > 0) {
        sd_bus_message_read(message, "s", &client);
        fake->clientLeft(client);
    }
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) {
        return 0;
    }
    const std::string member = sd_bus_message_get_member(message);
    const std::string path = sd_bus_message_get_path(message);
    fake->calls.push_back(path == "/" ? member : member + path.substr(path.rfind('/')));
    if (fake->held_ == member) {
        fake->waiting_.push_back(sd_bus_message_ref(message));
    } else {
        fake->answer(message);
    }
    return 1;
}

void FakeBlueZ::answer(sd_bus_message* call) {
    const std::string member = sd_bus_message_get_member(call);
    const std::string path = sd_bus_message_get_path(call);
    const auto adapter = adapters_.find(path.substr(path.rfind('/') + 1));
    std::string error;
    if (const auto failure = failures_.extract(member)) {
        error = failure.mapped();
    } else if (member == "GetManagedObjects") {
        answerObjects(call);
        return;
    } else {
        error = adapter == adapters_.end() ? SD_BUS_ERROR_UNKNOWN_OBJECT
                                           : perform(call, member, adapter->second);
    }
    if (!error.empty()) {
        sd_bus_reply_method_errorf(call, error.c_str(), "as the test wants it");
        return;
    }
    sd_bus_reply_method_return(call, nullptr);
    if (member != "SetDiscoveryFilter") {
        adapterChanged(adapter->first);
    }
}

std::string FakeBlueZ::perform(sd_bus_message* call, const std::string& member, Adapter& adapter) {
    const std::string client = sd_bus_message_get_sender(call);
    const bool starting = std::ranges::any_of(
        waiting_, [&](auto* other) { return client == sd_bus_message_get_sender(other); });
    if (member == "SetDiscoveryFilter") {
        readFilter(call);
        return "";
    }
    if (!adapter.powered) {
        return "org.bluez.Error.NotReady";
    }
    if (member == "StartDiscovery") {
        return adapter.discoverers.insert(client).second ? "" : "org.bluez.Error.InProgress";
    }
    if (starting) {
        return "org.bluez.Error.InProgress";
    }
    return adapter.discoverers.erase(client) > 0 ? "" : "org.bluez.Error.Failed";
}

void FakeBlueZ::answerObjects(sd_bus_message* call) {
    sd_bus_message* reply = nullptr;
    check(sd_bus_message_new_method_return(call, &reply));
    check(sd_bus_message_open_container(reply, 'a', "{oa{sa{sv}}}"));
    const auto append = [&](const std::string& path, const char* interface, const Fill& fill) {
        check(sd_bus_message_open_container(reply, 'e', "oa{sa{sv}}"));
        appendObject(reply, path, interface, fill);
        check(sd_bus_message_close_container(reply));
    };
    for (const auto& [name, adapter] : adapters_) {
        append(path(name), adapterInterface,
               adapterFill(adapter.powered, !adapter.discoverers.empty()));
        for (const auto& [address, device] : adapter.devices) {
            append(path(name, address), deviceInterface, deviceFill(device));
        }
    }
    check(sd_bus_message_close_container(reply));
    check(sd_bus_send(bus_, reply, nullptr));
    sd_bus_message_unref(reply);
}

/// Knows one order of one set of keys, the one that is expected.
void FakeBlueZ::readFilter(sd_bus_message* call) {
    const char* keys[4] = {};
    const char* transport = "";
    int duplicates = 1;
    int discoverable = 1;
    filter.clear();
    if (sd_bus_message_read(call, "a{sv}", 4, &keys[0], "s", &transport, &keys[1], "b", &duplicates,
                            &keys[2], "b", &discoverable, &keys[3], "as", 0) > 0) {
        filter = {std::string(keys[0]) + "=" + transport,
                  std::string(keys[1]) + "=" + std::to_string(duplicates),
                  std::string(keys[2]) + "=" + std::to_string(discoverable),
                  std::string(keys[3]) + "=none"};
    }
}

void FakeBlueZ::clientLeft(const std::string& client) {
    std::erase_if(waiting_, [&](sd_bus_message* call) {
        const bool gone = client == sd_bus_message_get_sender(call);
        return gone && sd_bus_message_unref(call) == nullptr;
    });
    for (auto& [name, adapter] : adapters_) {
        if (adapter.discoverers.erase(client) > 0) {
            adapterChanged(name);
        }
    }
}
