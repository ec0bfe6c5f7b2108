#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"
#include "tests/support/QuietHost.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <initializer_list>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace AmbrelKit {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::chrono::duration<double> processorTime(const rusage& usage) {
    const auto time = [](const timeval& value) {
        return std::chrono::seconds(value.tv_sec) + std::chrono::microseconds(value.tv_usec);
    };
    return time(usage.ru_utime) + time(usage.ru_stime);
}

TEST(Collection, TakesItsTenSecondsAndSleepsInBetween) {
    const auto host = std::make_shared<QuietHost>();
    Clock::time_point delivered;
    host->delivered = [&] {
        delivered = Clock::now();
        RunLoop::current()->stop();
    };
    auto services = Linux::platformServices();
    services.bonjourServices.emplace();
    const auto kit = Linux::create(std::move(services));
    kit->setDelegate(host);

    rusage before{};
    rusage after{};
    getrusage(RUSAGE_SELF, &before);
    const auto requested = Clock::now();
    kit->startScanningOnce();
    RunLoop::current()->run();
    getrusage(RUSAGE_SELF, &after);

    const std::chrono::duration<double> window = delivered - requested;
    const auto busy = processorTime(after) - processorTime(before);
    const auto wakeUps = after.ru_nvcsw - before.ru_nvcsw;
    RecordProperty("windowSeconds", std::to_string(window.count()));
    RecordProperty("processorSeconds", std::to_string(busy.count()));
    RecordProperty("wakeUps", std::to_string(wakeUps));
    EXPECT_GE(window, 10s);
    EXPECT_LT(window, 11s) << "the tenth tick has not closed the collection";
    EXPECT_LT(busy, 500ms);
    EXPECT_LE(wakeUps, 100);
}

/// Leaves this process no descriptor to open, until it goes.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &before_);
        const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(next);
        rlimit none = before_;
        none.rlim_cur = static_cast<rlim_t>(next); // the lowest that is free, and so all above
        setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_LT(open("/dev/null", O_RDONLY | O_CLOEXEC), 0);
    }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

private:
    rlimit before_{};
};

class ForwardClock {
public:
    ForwardClock() {
        Environment::shared().currentDate = [this] { return clock_() + offset_; };
    }
    ForwardClock(const ForwardClock&) = delete;
    ForwardClock& operator=(const ForwardClock&) = delete;
    ~ForwardClock() { Environment::shared().currentDate = clock_; }

    void setForward(std::chrono::seconds by) { offset_ += by; }

private:
    std::function<Environment::TimePoint()> clock_ = Environment::shared().currentDate;
    std::chrono::seconds offset_{};
};

/// Two collections, without descriptors from the first or the second on; those with descriptors
/// look for nothing but a location on the loopback.
void collectTwice(void (AmbrelSDK::*start)(), int firstWithout) {
    const auto loop = RunLoop::current();
    ForwardClock clock;
    const auto host = std::make_shared<QuietHost>();
    host->delivered = [&] { loop->stop(); };
    host->location = AmbrelPermissionStatus::granted;
    auto services = Linux::platformServices();
    services.bonjourServices = {"_ipp._tcp."};
    const auto kit = Linux::create(std::move(services));
    kit->setDelegate(host);
    kit->setAmbrelTimeThreshold(0);
    const auto sources = Linux::sourceReports();
    std::optional<NoDescriptors> without;
    for (int i = 1; i <= 2; ++i) {
        if (i == firstWithout) {
            without.emplace();
        }
        const bool granted = i >= firstWithout;
        host->bluetooth = host->network =
            granted ? AmbrelPermissionStatus::granted : AmbrelPermissionStatus::denied;
        // Between the first two ticks the clock goes on by ten seconds.
        const auto later = loop->scheduledTimer(1.5, false, [&](Timer&) { clock.setForward(10s); });
        const auto guard = loop->scheduledTimer(20, false, [&](Timer&) { loop->stop(); });
        (kit.get()->*start)();
        loop->run();
        EXPECT_EQ(host->deliveries, i);
        for (const Source source : {Source::bluetooth, Source::services, Source::location}) {
            const auto& failure = sources->report(source).collection.failure;
            const bool isAsked = i >= firstWithout && failure.state != SourceState::leftOut;
            EXPECT_EQ(failure.code == "no-descriptors", isAsked) << failure.reason;
        }
    }
}

TEST(Collection, IsDeliveredThoughNoDescriptorIsLeft) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere", 1);
    // A thread of its own has a loop of its own: what that opens late is not there yet.
    std::thread([] { collectTwice(&AmbrelSDK::startScanning, 1); }).join();
    std::thread([] { collectTwice(&AmbrelSDK::startScanningOnce, 2); }).join();
}

TEST(Collection, GoesOnThoughAForkedChildUsesTheKit) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere", 1);
    const auto loop = RunLoop::current();
    ForwardClock clock;
    const auto host = std::make_shared<QuietHost>();
    host->delivered = [&] { loop->stop(); };
    auto kit = Linux::create(Linux::platformServices());
    kit->setDelegate(host);
    kit->startScanning();
    const auto soon = loop->scheduledTimer(0.5, false, [&](Timer&) { loop->stop(); });
    loop->run();
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        int refused = 0;
        for (const auto& use : std::initializer_list<std::function<void()>>{
                 [&] { kit->stopScanning(); }, [&] { loop->dispatch(); }, [&] { loop->run(); }}) {
            try {
                use();
            } catch (const std::system_error& error) {
                refused += error.code().value() == ECHILD ? 1 : 0;
            }
        }
        kit.reset();
        _exit(refused);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_GE(WEXITSTATUS(status), 2) << "a child runs the loop of its parent";
    clock.setForward(10s);
    loop->run();
    EXPECT_EQ(host->deliveries, 1);
}

} // namespace
} // namespace AmbrelKit
