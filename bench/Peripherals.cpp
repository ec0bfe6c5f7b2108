// So many Bluetooth peripherals on the system bus, as BlueZ shows them to who discovers: each is
// heard once a second.

#include "tests/support/FakeBlueZ.hpp"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr const char* adapter = "hci0";
constexpr std::uint64_t tickMicroseconds = 10'000;
constexpr int ticksPerSecond = 100;

class Peripherals {
public:
    Peripherals(FakeBlueZ& blueZ, int count) : blueZ_(blueZ), count_(count) {}

    void tick() {
        if (blueZ_.discoverers(adapter).empty()) {
            return;
        }
        if (!known_) {
            known_ = true;
            for (int i = 0; i < count_; ++i) {
                blueZ_.add(
                    adapter,
                    {.address = address(i), .name = "Device " + std::to_string(i), .rssi = -60});
            }
        }
        for (int i = 0; i < count_ / ticksPerSecond; ++i, ++heard_) {
            blueZ_.heard(adapter, address(heard_ % count_), -40 - heard_ % 50);
        }
    }

private:
    static std::string address(int device) {
        std::array<char, 24> text{};
        std::snprintf(text.data(), text.size(), "C0:FF:EE:00:%02X:%02X", device >> 8,
                      device & 0xFF);
        return text.data();
    }

    FakeBlueZ& blueZ_;
    int count_;
    bool known_ = false;
    int heard_ = 0;
};

} // namespace

/// Peripherals COUNT: writes a line when it can be asked.
int main(int count, char** arguments) {
    sd_event* loop = nullptr;
    sd_event_default(&loop);
    FakeBlueZ blueZ(loop);
    blueZ.start();
    blueZ.plug(adapter);
    Peripherals peripherals(blueZ, count == 2 ? std::atoi(arguments[1]) : 0);
    sd_event_add_time_relative(
        loop, nullptr, CLOCK_MONOTONIC, 0, 1,
        [](sd_event_source* source, std::uint64_t /*time*/, void* self) {
            static_cast<Peripherals*>(self)->tick();
            sd_event_source_set_time_relative(source, tickMicroseconds);
            return sd_event_source_set_enabled(source, SD_EVENT_ONESHOT);
        },
        &peripherals);
    std::puts("listening");
    std::fflush(stdout);
    return sd_event_loop(loop);
}
