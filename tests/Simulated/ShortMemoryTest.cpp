// Every allocation fails in its turn: nothing is lost, nothing stays behind. Up to the delivery:
// the JSON library takes memory to let go of a dictionary, and ends the process where there is
// none.

#include "AmbrelKit/Simulated/Host.hpp"
#include "tests/support/Allocations.hpp"

#include <gtest/gtest.h>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using Allocations::Shortage;

const std::string type = "_ipp._tcp.";

/// A host that takes one collection in which every source reports.
class Life {
public:
    Life() {
        using enum Simulated::StatusQuery;
        for (const auto query : {bluetoothPermission, locationPermission, networkPermission}) {
            host_.setStatus(query, AmbrelPermissionStatus::granted);
        }
        host_.setDeliveryHandler(
            [this](const JSONDictionary& dictionary) { delivered = dictionary; });
        platform_.network().setInterfaces({{"en0", "192.0.2.7"}});
    }

    static constexpr int steps = 8;
    static constexpr int last = steps - 1;

    void step(int number) {
        const std::string name = "Lamp with a name that needs memory";
        switch (number) {
        case 0:
            return host_.sdk()->setHistoryLimit(2);
        case 1:
            return host_.sdk()->startScanning();
        case 2:
            return platform_.bluetooth().reportState(BluetoothManagerState::poweredOn);
        case 3:
            return platform_.bluetooth().reportDiscovery(
                {.identifier = *UUID::parse("00000000-0000-4000-8000-00000000000A"), .name = name});
        case 4:
            return platform_.bonjour().reportFound(type, name);
        case 5:
            return platform_.bonjour().reportResolved(
                type, name, {.addresses = {}, .txt = std::string("\4a=bc", 5)});
        case 6:
            return platform_.location().reportUpdate({{.coordinate = {48, 16}, .timestamp = {}}});
        case last:
            return platform_.clock().advanceTo(12s);
        default:
            throw std::logic_error("no such step");
        }
    }

    std::optional<JSONDictionary> delivered;

private:
    Simulated::Platform platform_{{.start = 1'700'000'000s, .identifiers = {}}};
    Simulated::Host host_{platform_, {{type}}};
};

JSONDictionary undisturbed() {
    Life life;
    for (int number = 0; number < Life::steps; ++number) {
        life.step(number);
    }
    return life.delivered.value();
}

/// Whether a step has failed for want of memory.
bool fails(Life& life, int number, std::size_t after) {
    Shortage shortage(after);
    try {
        life.step(number);
    } catch (const std::bad_alloc&) {
    }
    return shortage.end();
}

TEST(ShortMemory, WhatFailedHappensWhenItIsDoneAgain) {
    const JSONDictionary expected = undisturbed();
    ASSERT_EQ(expected.at("bleScan").size() + expected.at("nearbyDevices").size(), 2U);
    for (int failing = 0; failing < Life::last; ++failing) {
        bool failed = true;
        for (std::size_t after = 0; failed; ++after) {
            Life life;
            for (int number = 0; number < Life::steps; ++number) {
                failed = number == failing ? fails(life, number, after) : failed;
                if (number != failing || failed) {
                    life.step(number);
                }
            }
            ASSERT_EQ(life.delivered, expected) << "step " << failing << ", after " << after;
        }
    }
}

TEST(ShortMemory, ALifeThatFailsLeavesNothing) {
    static_cast<void>(undisturbed()); // what is made once for the process
    for (const auto lasts : {Shortage::once, Shortage::on}) {
        bool failed = true;
        for (std::size_t after = 0; failed; ++after) {
            const std::size_t before = Allocations::held();
            Shortage shortage(after, lasts);
            try {
                Life life;
                for (int number = 0; number < Life::last; ++number) {
                    life.step(number);
                }
            } catch (const std::bad_alloc&) {
            }
            failed = shortage.end();
            ASSERT_EQ(Allocations::held(), before) << after;
        }
    }
}

} // namespace
