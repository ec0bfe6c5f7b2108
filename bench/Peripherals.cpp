// So many Bluetooth peripherals on the system bus, as BlueZ shows them to who discovers: each is
// heard once a second. So many of them leave each second, and others come: with addresses that were
// never heard before, as phones have them.

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
    Peripherals(FakeBlueZ& blueZ, int count, int strangers)
        : blueZ_(blueZ), count_(count), strangers_(strangers) {}

    void tick() {
        if (blueZ_.discoverers(adapter).empty()) {
            return;
        }
        for (; come_ < count_; ++come_) {
            add(come_);
        }
        for (int i = 0; i < count_ / ticksPerSecond; ++i, ++heard_) {
            blueZ_.heard(adapter, address(gone_ + heard_ % count_), -40 - heard_ % 50);
        }
        for (due_ += strangers_; due_ >= ticksPerSecond; due_ -= ticksPerSecond) {
            blueZ_.remove(adapter, address(gone_++));
            add(come_++);
        }
    }

private:
    void add(int device) {
        blueZ_.add(
            adapter,
            {.address = address(device), .name = "Device " + std::to_string(device), .rssi = -60});
    }

    static std::string address(int device) {
        std::array<char, 24> text{};
        std::snprintf(text.data(), text.size(), "C0:FF:EE:%02X:%02X:%02X", device >> 16 & 0xFF,
                      device >> 8 & 0xFF, device & 0xFF);
        return text.data();
    }

    FakeBlueZ& blueZ_;
    int count_;
    int strangers_;
    int come_ = 0; ///< so many have
    int gone_ = 0;
    int heard_ = 0;
    int due_ = 0; ///< hundredths of strangers
};

} // namespace

/// Peripherals COUNT [STRANGERS]: writes a line when it can be asked.
int main(int count, char** arguments) {
    sd_event* loop = nullptr;
    sd_event_default(&loop);
    FakeBlueZ blueZ(loop);
    blueZ.start();
    blueZ.plug(adapter);
    Peripherals peripherals(blueZ, count > 1 ? std::atoi(arguments[1]) : 0,
                            count > 2 ? std::atoi(arguments[2]) : 0);
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
