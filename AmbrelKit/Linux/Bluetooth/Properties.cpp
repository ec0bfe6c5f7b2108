#include "AmbrelKit/Linux/Bluetooth/Properties.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Libraries/Systemd.hpp"

#include <string>

namespace AmbrelKit::Linux {

namespace {

constexpr std::string_view adapterInterface = "org.bluez.Adapter1";
constexpr std::string_view deviceInterface = "org.bluez.Device1";

/// The types of an array of dictionary entries, as sd-bus wants to see them.
struct Dictionary {
    const char* array;
    const char* entry;
    char key;
    const char* value;
};

constexpr Dictionary properties{"a{sv}", "sv", 's', "v"};
constexpr Dictionary interfaces{"a{sa{sv}}", "sa{sv}", 's', "a{sv}"};
constexpr Dictionary objects{"a{oa{sa{sv}}}", "oa{sa{sv}}", 'o', "a{sa{sv}}"};

bool enter(sd_bus_message* message, char type, const char* contents) {
    return sd_bus_message_enter_container(message, type, contents) > 0;
}

bool leave(sd_bus_message* message) { return sd_bus_message_exit_container(message) >= 0; }

/// Calls `entry` at the start of each entry, for it to read key and value. Stops where the message
/// is not what it should be; says whether it came to the end.
template <class Entry>
bool eachEntry(sd_bus_message* message, const Dictionary& types, const Entry& entry) {
    if (!enter(message, 'a', types.array + 1)) {
        return false;
    }
    while (enter(message, 'e', types.entry)) {
        entry();
        if (!leave(message)) {
            return false;
        }
    }
    return leave(message);
}

/// Skips a variant as sd_bus_message_skip does, but for an advertisement's bytes: those it reads
/// one by one, which costs more than all the rest of a signal.
void skipVariant(sd_bus_message* message) {
    const char* contents = nullptr;
    sd_bus_message_peek_type(message, nullptr, &contents);
    const std::string_view type = contents != nullptr ? contents : "";
    if (type == "ay") {
        const void* bytes = nullptr;
        std::size_t size = 0;
        enter(message, 'v', "ay");
        sd_bus_message_read_array(message, 'y', &bytes, &size);
    } else if (type == "a{yv}" || type == "a{qv}" || type == "a{sv}") {
        const char array[] = {'a', '{', type[2], 'v', '}', '\0'};
        const char entry[] = {type[2], 'v', '\0'};
        enter(message, 'v', array);
        eachEntry(message, {array, entry, entry[0], "v"}, [&] {
            const void* key = nullptr; // room for a key of any of these types
            sd_bus_message_read_basic(message, entry[0], &key);
            skipVariant(message);
        });
    } else {
        sd_bus_message_skip(message, "v");
        return;
    }
    leave(message);
}

/// Calls `read(key)` at the value of each entry. What it leaves, by returning false, is skipped.
template <class Read>
bool eachValue(sd_bus_message* message, const Dictionary& types, const Read& read) {
    return eachEntry(message, types, [&] {
        const char* key = nullptr;
        if (sd_bus_message_read_basic(message, types.key, &key) <= 0 || read(key)) {
            return;
        }
        if (*types.value == 'v') {
            skipVariant(message);
        } else {
            sd_bus_message_skip(message, types.value);
        }
    });
}

/// Reads a variant that holds a basic type; one that holds another type stays unread.
template <class Value>
bool readVariant(sd_bus_message* message, char type, std::optional<Value>& value) {
    const char contents[] = {type, '\0'};
    if (!enter(message, 'v', contents)) {
        return false;
    }
    Value content{};
    if (sd_bus_message_read_basic(message, type, &content) > 0) {
        value = content;
    }
    return leave(message);
}

bool readFlag(sd_bus_message* message, std::optional<bool>& flag) {
    std::optional<int> value; // a boolean is an int to sd-bus
    const bool read = readVariant(message, 'b', value);
    if (value) {
        flag = *value != 0;
    }
    return read;
}

bool readText(sd_bus_message* message, std::optional<std::string_view>& text) {
    std::optional<const char*> value;
    const bool read = readVariant(message, 's', value);
    if (value) {
        text = *value;
    }
    return read;
}

bool readServices(sd_bus_message* message, std::optional<std::vector<UUID>>& services) {
    if (!enter(message, 'v', "as")) {
        return false;
    }
    services.emplace();
    eachText(message, [&](std::string_view text) {
        if (const auto service = UUID::parse(text)) {
            services->push_back(*service);
        }
    });
    return leave(message);
}

/// Reads a variant that holds bytes by keys, which sd-bus gives as `Key`.
template <class Key, class Bytes>
bool readBytes(sd_bus_message* message, const Dictionary& types, std::optional<Bytes>& read) {
    if (!enter(message, 'v', types.array)) {
        return false;
    }
    read.emplace();
    eachEntry(message, types, [&] {
        Key key{};
        const void* bytes = nullptr;
        std::size_t size = 0;
        if (sd_bus_message_read_basic(message, types.key, &key) <= 0) {
            return;
        }
        if (!enter(message, 'v', "ay")) {
            skipVariant(message);
            return;
        }
        if (sd_bus_message_read_array(message, 'y', &bytes, &size) >= 0) {
            read->emplace_back(key, std::string_view(static_cast<const char*>(bytes), size));
        }
        leave(message);
    });
    return leave(message);
}

bool readAdapter(sd_bus_message* message, AdapterProperties& adapter) {
    return eachValue(message, properties, [&](std::string_view key) {
        if (key == "Powered") {
            return readFlag(message, adapter.powered);
        }
        return key == "Discovering" && readFlag(message, adapter.discovering);
    });
}

bool readDevice(sd_bus_message* message, DeviceProperties& device) {
    return eachValue(message, properties, [&](std::string_view key) {
        if (key == "RSSI") {
            return readVariant(message, 'n', device.rssi);
        }
        if (key == "Name") {
            return readText(message, device.name);
        }
        if (key == "Address") {
            return readText(message, device.address);
        }
        if (key == "AddressType") {
            std::optional<std::string_view> type;
            const bool read = readText(message, type);
            if (type) {
                device.addressIsRandom = *type == "random";
            }
            return read;
        }
        if (key == "ManufacturerData") {
            return readBytes<std::uint16_t>(message, {"a{qv}", "qv", 'q', "v"},
                                            device.manufacturerData);
        }
        if (key == "ServiceData") {
            return readBytes<const char*>(message, properties, device.serviceData);
        }
        if (key == "TxPower") {
            return readVariant(message, 'n', device.txPower);
        }
        if (key == "Appearance") {
            return readVariant(message, 'q', device.appearance);
        }
        device.hasAdvertisingFlags |= key == "AdvertisingFlags";
        device.hasClass |= key == "Class";
        return key == "UUIDs" && readServices(message, device.services);
    });
}

bool readInterfaces(sd_bus_message* message, ObjectProperties& object) {
    return eachValue(message, interfaces, [&](std::string_view interface) {
        if (interface == deviceInterface) {
            return readDevice(message, object.device.emplace());
        }
        return interface == adapterInterface && readAdapter(message, object.adapter.emplace());
    });
}

std::string_view readText(sd_bus_message* message, char type) {
    const char* text = nullptr;
    return sd_bus_message_read_basic(message, type, &text) > 0 ? text : "";
}

} // namespace

ObjectProperties readChanges(sd_bus_message* message) {
    ObjectProperties object;
    readBody(message, [&] {
        const std::string_view interface = readText(message, 's');
        if (interface == deviceInterface) {
            return readDevice(message, object.device.emplace());
        }
        return interface != adapterInterface || readAdapter(message, object.adapter.emplace());
    });
    if (object.device && !object.device->rssi) {
        eachText(message, [&](std::string_view invalidated) {
            object.device->rssiInvalidated |= invalidated == "RSSI";
        });
    }
    return object;
}

ObjectProperties readAdded(sd_bus_message* message, std::string_view& path) {
    ObjectProperties object;
    readBody(message, [&] {
        path = readText(message, 'o');
        return readInterfaces(message, object);
    });
    return object;
}

RemovedInterfaces readRemoved(sd_bus_message* message) {
    RemovedInterfaces removed{.path = readText(message, 'o')};
    eachText(message, [&](std::string_view interface) {
        removed.adapter |= interface == adapterInterface;
        removed.device |= interface == deviceInterface;
    });
    return removed;
}

void readObjects(
    sd_bus_message* message,
    const std::function<void(std::string_view path, const ObjectProperties&)>& object) {
    readBody(message, [&] {
        return eachValue(message, objects, [&](std::string_view path) {
            ObjectProperties read;
            const bool whole = readInterfaces(message, read);
            object(path, read);
            return whole;
        });
    });
}

} // namespace AmbrelKit::Linux
