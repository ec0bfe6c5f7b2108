// What a collection costs in a crowd: the kit's whole process beside a minimal receiver, both on
// the same bus, hearing the same signals of the same fake BlueZ.

#include "tests/support/FakeBlueZ.hpp"
#include "tests/support/PrivateBus.hpp"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr const char* adapter = "hci0";
constexpr int bytesOfData = 24;
constexpr std::uint64_t tickMicroseconds = 1000;
constexpr double allowedRatio = 1.25;
constexpr long allowedKiB = 12 * 1024;
constexpr double secondsOfSignals = 9; // the kit's ten, less the time to get there

/// A program that was started, what it printed and what it used.
struct Child {
    pid_t process = -1;
    int output = -1;
    rusage usage{};
    std::uint64_t signals = 0;
    std::uint64_t devices = 0;

    void start(const std::string& program, const char* argument) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            std::exit(2);
        }
        output = ends[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::array<const char*, 3> arguments{program.c_str(), argument, nullptr};
        if (posix_spawn(&process, program.c_str(), &actions, nullptr,
                        const_cast<char* const*>(arguments.data()), environ) != 0) {
            std::perror(program.c_str());
            std::exit(2);
        }
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
    }

    void finish() {
        std::array<char, 128> text{};
        const auto length = read(output, text.data(), text.size() - 1);
        close(output);
        wait4(process, nullptr, 0, &usage);
        if (length > 0) {
            char* rest = nullptr;
            signals = std::strtoull(text.data(), &rest, 10);
            devices = std::strtoull(rest, nullptr, 10);
        }
    }

    [[nodiscard]] double cpu() const {
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    }
};

/// Sends signals at a rate to whoever discovers, once as many discover as are waited for.
class Crowd {
public:
    Crowd(FakeBlueZ& blueZ, sd_event* loop, int devices, double rate, std::size_t listeners)
        : blueZ_(blueZ), devices_(devices), rate_(rate), listeners_(listeners) {
        sd_event_add_time_relative(loop, &tick_, CLOCK_MONOTONIC, 0, 1, &ticked, this);
    }
    ~Crowd() { sd_event_source_disable_unref(tick_); }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    [[nodiscard]] std::uint64_t sent() const { return sent_; }

private:
    using Clock = std::chrono::steady_clock;

    static int ticked(sd_event_source* source, std::uint64_t /*time*/, void* self) {
        static_cast<Crowd*>(self)->tick();
        sd_event_source_set_time_relative(source, tickMicroseconds);
        return sd_event_source_set_enabled(source, SD_EVENT_ONESHOT);
    }

    static std::string address(int device) {
        std::array<char, 24> text{};
        std::snprintf(text.data(), text.size(), "C0:FF:EE:00:%02X:%02X", device >> 8,
                      device & 0xFF);
        return text.data();
    }

    void tick() {
        if (!started_) {
            if (blueZ_.discoverers(adapter).size() < listeners_) {
                return;
            }
            started_ = true;
            begin_ = Clock::now();
            for (int i = 0; i < devices_; ++i, ++sent_) {
                blueZ_.add(
                    adapter,
                    {.address = address(i), .name = "Device " + std::to_string(i), .rssi = -60});
            }
        }
        const double elapsed = std::chrono::duration<double>(Clock::now() - begin_).count();
        const auto due = static_cast<std::uint64_t>(std::min(elapsed, secondsOfSignals) * rate_);
        for (; changes_ < due; ++changes_, ++sent_) {
            change(static_cast<int>(changes_ % static_cast<std::uint64_t>(devices_)));
        }
    }

    void change(int device) {
        blueZ_.changed(adapter, address(device), [&](sd_bus_message* message) {
            std::array<std::uint8_t, bytesOfData> data{};
            std::memcpy(data.data(), &changes_, sizeof changes_);
            sd_bus_message_open_container(message, 'a', "{sv}");
            sd_bus_message_append(message, "{sv}", "RSSI", "n",
                                  -40 - static_cast<int>(changes_ % 50));
            sd_bus_message_open_container(message, 'e', "sv");
            sd_bus_message_append(message, "s", "ManufacturerData");
            sd_bus_message_open_container(message, 'v', "a{qv}");
            sd_bus_message_open_container(message, 'a', "{qv}");
            sd_bus_message_open_container(message, 'e', "qv");
            sd_bus_message_append(message, "q", 0x004C);
            sd_bus_message_open_container(message, 'v', "ay");
            sd_bus_message_append_array(message, 'y', data.data(), data.size());
            for (int i = 0; i < 6; ++i) {
                sd_bus_message_close_container(message);
            }
            sd_bus_message_append(message, "as", 0);
        });
    }

    FakeBlueZ& blueZ_;
    int devices_;
    double rate_;
    std::size_t listeners_;
    sd_event_source* tick_ = nullptr;
    bool started_ = false;
    Clock::time_point begin_;
    std::uint64_t changes_ = 0;
    std::uint64_t sent_ = 0;
};

/// One run; returns whether the kit kept within its bounds.
bool measure(const std::string& folder, int devices, double rate) {
    const PrivateBus bus;
    sd_event* loop = nullptr;
    sd_event_new(&loop);
    Child kit;
    Child floor;
    std::uint64_t sent = 0;
    {
        FakeBlueZ blueZ(loop);
        blueZ.start();
        blueZ.plug(adapter);
        const Crowd crowd(blueZ, loop, devices, rate, 2);
        floor.start(folder + "/BluetoothFloor", "11");
        kit.start(folder + "/BluetoothHost", nullptr);
        sd_event_source* end = nullptr;
        sd_event_add_time_relative(
            loop, &end, CLOCK_MONOTONIC, 12'000'000, 1,
            [](sd_event_source* source, std::uint64_t, void*) {
                return sd_event_exit(sd_event_source_get_event(source), 0);
            },
            nullptr);
        sd_event_loop(loop);
        sd_event_source_unref(end);
        sent = crowd.sent();
    }
    sd_event_unref(loop);
    kit.finish();
    floor.finish();
    const double ratio = kit.cpu() / floor.cpu();
    std::printf("%7d %7.0f %8llu %8llu %6llu %9.1f %9.1f %6.2f %9.1f %9.1f\n", devices, rate,
                static_cast<unsigned long long>(sent),
                static_cast<unsigned long long>(sent - kit.signals),
                static_cast<unsigned long long>(kit.devices), kit.cpu() * 1e3, floor.cpu() * 1e3,
                ratio, static_cast<double>(kit.usage.ru_maxrss) / 1024,
                static_cast<double>(floor.usage.ru_maxrss) / 1024);
    std::fflush(stdout);
    return sent > 0 && kit.signals == sent && floor.signals == sent &&
           kit.devices == static_cast<std::uint64_t>(devices) && ratio <= allowedRatio &&
           kit.usage.ru_maxrss <= allowedKiB;
}

} // namespace

/// BluetoothBench [DEVICES RATE]: fails when a bound is exceeded. The programs that it compares lie
/// beside it.
int main(int count, char** arguments) {
    const std::string self = arguments[0];
    const std::string folder = self.substr(0, self.rfind('/'));
    std::vector<std::pair<int, double>> runs{{400, 1000}, {400, 5000}, {1000, 1000}};
    if (count == 3) {
        runs = {{std::atoi(arguments[1]), std::atof(arguments[2])}};
    }
    std::puts("devices  rate/s     sent     lost  found    kit ms  floor ms  ratio   kit MiB "
              "floor MiB");
    bool kept = true;
    for (const auto& [devices, rate] : runs) {
        // What else runs on the machine disturbs one of the two more than the other.
        kept = (measure(folder, devices, rate) || measure(folder, devices, rate)) && kept;
    }
    return kept ? 0 : 1;
}
