#include "AmbrelKit/Linux/Platform.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"
#include "tests/support/QuietHost.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <sys/resource.h>

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

} // namespace
} // namespace AmbrelKit
