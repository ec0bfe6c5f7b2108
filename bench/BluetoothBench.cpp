// What a collection costs in a crowd: the kit's whole process beside a minimal receiver, in turns,
// each alone on a bus with the same signals of a fake BlueZ. What is measured has a processor for
// itself; this program and the bus have another.

#include "bench/Signal.hpp"
#include "tests/support/FakeBlueZ.hpp"
#include "tests/support/PrivateBus.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/perf_event.h>
#include <optional>
#include <sched.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr const char* adapter = "hci0";
constexpr std::uint64_t tickMicroseconds = 1000;
constexpr int rounds = 3; // of which the one counts that was disturbed least
constexpr double allowedRatio = 1.25;
constexpr long allowedKiB = 12 * 1024;
constexpr double secondsOfSignals = 9; // the kit's ten, less the time to get there

/// Has this program, and what it starts from now on, run on this processor alone.
void runOn(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(processor), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) {
        std::perror("sched_setaffinity");
        std::exit(2);
    }
}

/// A counter of the instructions of the programs that are started from now on; -1 where the machine
/// counts none.
int countInstructions() {
    perf_event_attr attributes{};
    attributes.size = sizeof attributes;
    attributes.type = PERF_TYPE_HARDWARE;
    attributes.config = PERF_COUNT_HW_INSTRUCTIONS;
    attributes.disabled = 1;
    attributes.inherit = 1;
    attributes.enable_on_exec = 1;
    attributes.exclude_kernel = 1;
    return static_cast<int>(
        syscall(SYS_perf_event_open, &attributes, 0, -1, -1, PERF_FLAG_FD_CLOEXEC));
}

/// A program that was started, what it printed and what it used.
struct Child {
    pid_t process = -1;
    int output = -1;
    int counter = -1;
    rusage usage{};
    std::uint64_t signals = 0;
    std::uint64_t devices = 0;
    std::optional<std::uint64_t> instructions;

    void start(const std::string& program, const char* argument) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            std::exit(2);
        }
        output = ends[0];
        counter = countInstructions();
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
        std::uint64_t counted = 0;
        if (counter >= 0 && read(counter, &counted, sizeof counted) == sizeof counted) {
            instructions = counted;
            close(counter);
        }
    }

    [[nodiscard]] double cpu() const {
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    }
};

/// Sends signals at a rate to who discovers, from then on.
class Crowd {
public:
    Crowd(FakeBlueZ& blueZ, sd_event* loop, int devices, double rate)
        : blueZ_(blueZ), devices_(devices), rate_(rate) {
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
            if (blueZ_.discoverers(adapter).empty()) {
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
            AmbrelKit::Bench::appendHeard(message, changes_);
        });
    }

    FakeBlueZ& blueZ_;
    int devices_;
    double rate_;
    sd_event_source* tick_ = nullptr;
    bool started_ = false;
    Clock::time_point begin_;
    std::uint64_t changes_ = 0;
    std::uint64_t sent_ = 0;
};

struct Run {
    Child child;
    std::uint64_t sent = 0;

    [[nodiscard]] bool lostNothing() const { return sent > 0 && child.signals == sent; }
};

/// A collection of one program's in a crowd.
Run run(const std::string& program, const char* argument, int devices, double rate) {
    runOn(0);
    const PrivateBus bus;
    sd_event* loop = nullptr;
    sd_event_new(&loop);
    Run run;
    {
        FakeBlueZ blueZ(loop);
        blueZ.start();
        blueZ.plug(adapter);
        const Crowd crowd(blueZ, loop, devices, rate);
        runOn(static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN)) - 1);
        run.child.start(program, argument);
        runOn(0);
        sd_event_source* end = nullptr;
        sd_event_add_time_relative(
            loop, &end, CLOCK_MONOTONIC, 12'000'000, 1,
            [](sd_event_source* source, std::uint64_t, void*) {
                return sd_event_exit(sd_event_source_get_event(source), 0);
            },
            nullptr);
        sd_event_loop(loop);
        sd_event_source_unref(end);
        run.sent = crowd.sent();
    }
    sd_event_unref(loop);
    run.child.finish();
    return run;
}

/// Returns whether the kit kept within its bounds, and both lost nothing.
bool measure(const std::string& folder, int devices, double rate) {
    bool kept = true;
    std::optional<Run> kit;
    std::optional<Run> floor;
    const auto keepCheaper = [&](std::optional<Run>& least, const Run& now) {
        if (!least || now.child.cpu() < least->child.cpu()) {
            least = now;
        }
    };
    for (int round = 0; round < rounds; ++round) {
        const Run floorNow = run(folder + "/BluetoothFloor", "11", devices, rate);
        const Run kitNow = run(folder + "/BluetoothHost", nullptr, devices, rate);
        kept = kept && floorNow.lostNothing() && kitNow.lostNothing() &&
               kitNow.child.devices == static_cast<std::uint64_t>(devices);
        keepCheaper(floor, floorNow);
        keepCheaper(kit, kitNow);
    }
    const double ratio = kit->child.cpu() / floor->child.cpu();
    const auto& counted = kit->child.instructions;
    std::printf("%7d %7.0f %8llu %8lld %6llu %9.1f %9.1f %6.2f %9s %9.1f %9.1f\n", devices, rate,
                static_cast<unsigned long long>(kit->sent),
                static_cast<long long>(kit->sent - kit->child.signals),
                static_cast<unsigned long long>(kit->child.devices), kit->child.cpu() * 1e3,
                floor->child.cpu() * 1e3, ratio,
                counted ? std::to_string(*counted / kit->sent).c_str() : "-",
                static_cast<double>(kit->child.usage.ru_maxrss) / 1024,
                static_cast<double>(floor->child.usage.ru_maxrss) / 1024);
    std::fflush(stdout);
    return kept && ratio <= allowedRatio && kit->child.usage.ru_maxrss <= allowedKiB;
}

} // namespace

/// BluetoothBench [DEVICES RATE]: fails when a bound is exceeded, or a signal was lost. The
/// programs that it compares lie beside it.
int main(int count, char** arguments) {
    const std::string self = arguments[0];
    const std::string folder = self.substr(0, self.rfind('/'));
    std::vector<std::pair<int, double>> runs{{400, 1000}, {400, 5000}, {1000, 1000}};
    if (count == 3) {
        runs = {{std::atoi(arguments[1]), std::atof(arguments[2])}};
    }
    std::puts(
        "devices  rate/s     sent     lost  found    kit ms  floor ms  ratio  instr/sig   kit "
        "MiB floor MiB");
    bool kept = true;
    for (const auto& [devices, rate] : runs) {
        kept = measure(folder, devices, rate) && kept;
    }
    return kept ? 0 : 1;
}
