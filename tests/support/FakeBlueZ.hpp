#ifndef AMBREL_TESTS_SUPPORT_FAKEBLUEZ_HPP
#define AMBREL_TESTS_SUPPORT_FAKEBLUEZ_HPP

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>
#include <vector>

/// A daemon that owns org.bluez on the system bus and behaves as bluetoothd 5.66 does towards
/// programs that scan. It is served by the loop of the test.
class FakeBlueZ {
public:
    struct Device {
        std::string address = {};
        std::optional<std::string> name = {};
        std::optional<int> rssi = {}; ///< absent: known, but not heard now
        bool random = true;
        std::optional<std::string> service = {};
        bool classOfDevice = false; ///< an inquiry has heard it
        bool flags = false;         ///< of its advertisements, as BlueZ shows them since 5.78
    };
    /// Appends the content of a message.
    using Fill = std::function<void(sd_bus_message*)>;

    explicit FakeBlueZ(sd_event* loop) : loop_(loop) {}
    ~FakeBlueZ() { stop(); }
    FakeBlueZ(const FakeBlueZ&) = delete;
    FakeBlueZ& operator=(const FakeBlueZ&) = delete;

    void start();
    /// As if killed: the next one knows nothing.
    void stop();

    void plug(const std::string& adapter, bool powered = true);
    void unplug(const std::string& adapter);
    void power(const std::string& adapter, bool powered);

    void add(const std::string& adapter, const Device& device);
    void remove(const std::string& adapter, const std::string& address);
    void heard(const std::string& adapter, const std::string& address, int rssi);
    void named(const std::string& adapter, const std::string& address, const std::string& name);

    /// PropertiesChanged of a device, or any signal, from whatever sender to whomever.
    void changed(const std::string& adapter, const std::string& address, const Fill& fill);
    void signal(const char* member, const std::string& path, const Fill& fill,
                sd_bus* sender = nullptr, const char* destination = nullptr);

    /// The next call of this method fails, once.
    void failNext(const std::string& member, const std::string& error) {
        failures_[member] = error;
    }
    /// Calls of this method wait for `release()`.
    void hold(const std::string& member) { held_ = member; }
    void release();

    /// The bus names that discover with this adapter.
    [[nodiscard]] std::set<std::string> discoverers(const std::string& adapter) const;
    [[nodiscard]] sd_bus* bus() const { return bus_; }

    static std::string path(const std::string& adapter, const std::string& address = {});

    std::vector<std::string> calls; ///< what arrived: the method, and the adapter's name
    std::set<std::string> filter;   ///< the last filter, as "Key=value"

private:
    struct Adapter {
        bool powered = true;
        std::set<std::string> discoverers = {};
        std::map<std::string, Device> devices = {};
    };

    static int received(sd_bus_message* message, void* self, sd_bus_error* error);
    void answer(sd_bus_message* call);
    std::string perform(sd_bus_message* call, const std::string& member, Adapter& adapter);
    void answerObjects(sd_bus_message* call);
    void readFilter(sd_bus_message* call);
    void adapterChanged(const std::string& name);
    void clientLeft(const std::string& client);

    sd_event* loop_;
    sd_bus* bus_ = nullptr;
    std::map<std::string, Adapter> adapters_;
    std::map<std::string, std::string> failures_;
    std::string held_;
    std::vector<sd_bus_message*> waiting_;
};

/// The content that sd_bus_message_append makes of its arguments.
template <class... Arguments> FakeBlueZ::Fill filling(Arguments... arguments) {
    return [=](sd_bus_message* message) {
        if (sd_bus_message_append(message, arguments...) < 0) {
            throw std::runtime_error("wrong arguments for a message");
        }
    };
}

#endif
