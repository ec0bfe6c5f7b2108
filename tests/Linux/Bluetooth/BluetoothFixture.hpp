#ifndef AMBREL_TESTS_LINUX_BLUETOOTH_BLUETOOTHFIXTURE_HPP
#define AMBREL_TESTS_LINUX_BLUETOOTH_BLUETOOTHFIXTURE_HPP

#include "AmbrelKit/Linux/Bluetooth/BluetoothManagerFactory.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "tests/support/FakeBlueZ.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <utility>

inline const std::string phone = "C0:00:00:00:00:01";
inline const std::string lamp = "C0:00:00:00:00:02";

/// Scans whenever the manager's radio is on, as the kit does, and keeps what it is told.
class Receiver final : public AmbrelKit::BluetoothCentralManagerDelegate {
public:
    void centralManagerDidUpdateState(AmbrelKit::BluetoothCentralManager& manager) override {
        states.push_back(static_cast<int>(manager.state()));
        if (scans && manager.state() == AmbrelKit::BluetoothManagerState::poweredOn) {
            manager.scanForPeripheralsWithServices(services, options);
        }
    }
    void centralManagerDidDiscoverPeripheral(AmbrelKit::BluetoothCentralManager& /*manager*/,
                                             const AmbrelKit::Peripheral& peripheral,
                                             const AmbrelKit::JSONDictionary& data,
                                             int rssi) override {
        identifiers.insert(peripheral.identifier);
        advertisementData = data;
        sightings.push_back(peripheral.name.value_or("-") + " " + std::to_string(rssi));
        if (then) {
            then();
        }
    }

    bool scans = true;
    std::optional<std::vector<AmbrelKit::UUID>> services;
    std::optional<AmbrelKit::JSONDictionary> options;
    std::function<void()> then;
    std::vector<int> states;
    std::set<AmbrelKit::UUID> identifiers;
    AmbrelKit::JSONDictionary advertisementData; ///< the last
    std::vector<std::string> sightings;          ///< "name rssi", or "- rssi" without name
};

/// A manager on a private bus, where BlueZ is a fake; both work on the test's own loop.
class BluetoothTest : public ::testing::Test, protected LoopDriver {
protected:
    ~BluetoothTest() override {
        manager.reset();
        during(std::chrono::milliseconds(0));
        sd_bus_detach_event(other_);
        sd_bus_close_unref(other_);
    }

    /// Another program on the bus.
    sd_bus* other() {
        if (other_ == nullptr) {
            sd_bus_open_system(&other_);
            sd_bus_attach_event(other_, loop()->native(), 0);
        }
        return other_;
    }

    /// Until everything that was sent has arrived, and what was sent in answer to it.
    void drain() {
        for (int hop = 0; hop < 4; ++hop) {
            int unanswered = 0;
            for (sd_bus* sender : {fake.bus(), other()}) {
                if (sender != nullptr) {
                    ++unanswered;
                    sd_bus_call_method_async(sender, nullptr, "org.freedesktop.DBus", "/",
                                             "org.freedesktop.DBus", "GetId", &countDown,
                                             &unanswered, nullptr);
                }
            }
            ASSERT_TRUE(until([&] { return unanswered == 0; }));
            loop()->dispatch();
        }
    }

    void begin() {
        manager = AmbrelKit::Linux::platformServices().bluetoothManagerFactory();
        manager->setDelegate(receiver);
    }

    bool scanning(const std::string& adapter = "hci0", int milliseconds = 5000) {
        return until([&] { return !fake.discoverers(adapter).empty(); },
                     std::chrono::milliseconds(milliseconds));
    }

    /// BlueZ with one adapter that is on, and the manager scanning.
    void beginScan() {
        fake.start();
        fake.plug("hci0");
        begin();
        ASSERT_TRUE(scanning());
        drain();
    }

    /// What was reported since the last time.
    std::vector<std::string> reports() {
        drain();
        return std::exchange(receiver->sightings, {});
    }

    /// How Bluetooth fares: the state and the reason's code, or by what means it listens.
    [[nodiscard]] std::string condition() const {
        const auto now = source->report(AmbrelKit::Source::bluetooth).condition;
        const std::string detail = now.code + now.means;
        return std::string(code(now.state)) + (detail.empty() ? "" : ": ") + detail;
    }

    PrivateBus bus;
    FakeBlueZ fake{loop()->native()};
    std::shared_ptr<Receiver> receiver = std::make_shared<Receiver>();
    std::shared_ptr<AmbrelKit::BluetoothCentralManager> manager;
    int changes = 0; ///< of how any source fares
    std::shared_ptr<AmbrelKit::SourceReports> source =
        AmbrelKit::Linux::sourceReports([this] { ++changes; });

private:
    static int countDown(sd_bus_message* /*reply*/, void* count, sd_bus_error* /*error*/) {
        --*static_cast<int*>(count);
        return 0;
    }

    sd_bus* other_ = nullptr;
};

#endif
