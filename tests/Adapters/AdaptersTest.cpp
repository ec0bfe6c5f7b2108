#include <AmbrelKit/Adapters/Asio.hpp>
#include <AmbrelKit/Adapters/GLib.hpp>
#include <AmbrelKit/Adapters/Qt.hpp>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <chrono>
#include <optional>
#include <stdexcept>

namespace AmbrelKit::Adapters {
namespace {

/// A host's loop: what it has `turn` do waits for something to happen, or does what is due.
struct GLibHost {
    std::exception_ptr thrown;
    std::optional<GLibDriver> driver{std::in_place, nullptr,
                                     [this](std::exception_ptr exception) { thrown = exception; }};

    void turn(bool wait) { g_main_context_iteration(nullptr, static_cast<gboolean>(wait)); }
};

struct QtHost {
    int count = 0;
    QCoreApplication application{count, nullptr};
    std::exception_ptr thrown;
    std::optional<QtDriver> driver{std::in_place,
                                   [this](std::exception_ptr exception) { thrown = exception; }};

    void turn(bool wait) {
        QCoreApplication::processEvents(wait ? QEventLoop::WaitForMoreEvents
                                             : QEventLoop::AllEvents);
    }
};

struct AsioHost {
    asio::io_context context;
    std::exception_ptr thrown;
    std::optional<AsioDriver<asio::posix::stream_descriptor>> driver{std::in_place, context};

    void turn(bool wait) {
        try {
            wait ? context.run_one() : context.poll();
        } catch (...) {
            thrown = std::current_exception();
        }
    }
};

template <class Host, class Condition> void turnUntil(Host& host, Condition condition) {
    while (!condition()) {
        host.turn(true);
    }
}

template <class Host> void turnFor(Host& host, std::chrono::milliseconds duration) {
    const auto end = std::chrono::steady_clock::now() + duration;
    while (std::chrono::steady_clock::now() < end) {
        host.turn(false);
    }
}

std::shared_ptr<Timer> often(TimerTick tick) {
    return RunLoop::current()->scheduledTimer(0.001, true, std::move(tick));
}

template <class Host> class AdaptersTest : public testing::Test {};
using Hosts = testing::Types<GLibHost, QtHost, AsioHost>;
TYPED_TEST_SUITE(AdaptersTest, Hosts, );

TYPED_TEST(AdaptersTest, WhatACallbackThrowsReachesTheHostAndTheKitRunsOn) {
    TypeParam host;
    int ticks = 0;
    const auto timer = often([&](Timer&) {
        if (++ticks == 2) {
            throw std::runtime_error("from a callback");
        }
    });
    turnUntil(host, [&] { return ticks >= 4; });
    ASSERT_TRUE(host.thrown);
    EXPECT_THROW(std::rethrow_exception(host.thrown), std::runtime_error);
}

TYPED_TEST(AdaptersTest, NothingOfTheKitRunsWhileItsCallbackTurnsTheHostsLoop) {
    TypeParam host;
    int ticks = 0;
    bool inside = false;
    const auto another = often([&](Timer&) { EXPECT_FALSE(inside); });
    const auto timer = often([&](Timer& due) {
        EXPECT_FALSE(inside);
        inside = true;
        turnFor(host, std::chrono::milliseconds(10));
        inside = false;
        if (++ticks == 2) {
            due.invalidate();
        }
    });
    turnUntil(host, [&] { return ticks >= 2; });
    EXPECT_FALSE(host.thrown);
}

TYPED_TEST(AdaptersTest, DroppedInACallbackItRunsNothingMore) {
    TypeParam host;
    int ticks = 0;
    const auto timer = often([&](Timer&) {
        ++ticks;
        host.driver.reset();
    });
    turnUntil(host, [&] { return ticks > 0; });
    const int before = ticks; // on a slow machine another may have been due meanwhile
    turnFor(host, std::chrono::milliseconds(10));
    EXPECT_EQ(ticks, before);
}

} // namespace
} // namespace AmbrelKit::Adapters
