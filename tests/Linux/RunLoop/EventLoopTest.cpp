#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace AmbrelKit::Linux {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

/// Long enough for the slowest machine; a test that waits this long has failed.
constexpr auto patience = 20s;

double seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

/// Ends a `run()` that would hang.
std::shared_ptr<Timer> giveUp(RunLoop& loop) {
    return loop.scheduledTimer(seconds(patience), false, [&loop](Timer&) {
        ADD_FAILURE() << "nothing came";
        loop.stop();
    });
}

/// Runs everything that is due within this time.
void runFor(RunLoop& loop, Clock::duration duration) {
    const auto timer =
        loop.scheduledTimer(seconds(duration), false, [&loop](Timer&) { loop.stop(); });
    loop.run();
    loop.dispatch();
}

/// What a host with a loop of its own does.
template <class Condition> bool pollUntil(RunLoop& loop, Condition condition) {
    const auto end = Clock::now() + patience;
    while (!condition()) {
        pollfd descriptor{.fd = loop.fileDescriptor(), .events = POLLIN, .revents = 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || poll(&descriptor, 1, static_cast<int>(left)) == 0) {
            return false;
        }
        loop.dispatch();
    }
    return true;
}

std::string thrownBy(const std::function<void()>& call) {
    try {
        call();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

class Pipe {
public:
    Pipe() { EXPECT_EQ(pipe(ends_.data()), 0); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(ends_[0]);
        close(ends_[1]);
    }
    [[nodiscard]] int reader() const { return ends_[0]; }
    void fill() const { EXPECT_EQ(write(ends_[1], "x", 1), 1); }

private:
    std::array<int, 2> ends_{};
};

class EventLoopTest : public testing::Test {
protected:
    const std::shared_ptr<EventLoop> loop = EventLoop::current();
};

TEST_F(EventLoopTest, ARepeatingTimerKeepsItsDeadlinesHoweverLateItIs) {
    constexpr auto interval = 40ms;
    const auto guard = giveUp(*loop);
    const auto start = Clock::now();
    std::vector<Clock::duration> ticks;
    const auto timer = loop->scheduledTimer(seconds(interval), true, [&](Timer&) {
        ticks.push_back(Clock::now() - start);
        if (ticks.size() == 1) { // passes over two deadlines, and ends halfway between two
            std::this_thread::sleep_until(start + 3 * interval + interval / 2);
        }
        if (ticks.size() == 12) {
            loop->stop();
        }
    });
    loop->run();

    ASSERT_EQ(ticks.size(), 12U);
    auto leastDelay = Clock::duration::max();
    for (std::size_t i = 2; i < ticks.size(); ++i) {
        EXPECT_GE(ticks[i], (i + 2) * interval) << "an early tick, or one made up for";
        leastDelay = std::min(leastDelay, ticks[i] % interval);
    }
    EXPECT_GE(ticks[0], interval);
    EXPECT_LT(leastDelay, interval / 2) << "lateness has added up";
}

TEST_F(EventLoopTest, AOneShotTimerFiresOnceAndNeverEarly) {
    for (const auto interval : {1us, 700us, 3333us, 20000us}) {
        int ticks = 0;
        const auto start = Clock::now();
        const auto timer = loop->scheduledTimer(seconds(interval), false, [&](Timer&) {
            EXPECT_GE(Clock::now() - start, interval);
            ++ticks;
        });
        runFor(*loop, 3 * interval);
        EXPECT_EQ(ticks, 1);
    }
}

TEST_F(EventLoopTest, AnIntervalThatNoClockCanKeepDoesNoHarm) {
    std::int64_t ticks = 0;
    const auto start = Clock::now();
    const auto never = loop->scheduledTimer(1e300, true, [](Timer&) { FAIL(); });
    const auto often = loop->scheduledTimer(0, true, [&](Timer&) { ++ticks; });
    runFor(*loop, 20ms);
    EXPECT_GT(ticks, 0);
    EXPECT_LE(ticks, (Clock::now() - start) / 100us) << "the loop spins";
}

TEST_F(EventLoopTest, NothingRunsOnceItsHandleIsGone) {
    const Pipe pipe;
    pipe.fill();
    std::vector<std::string> ran;

    const auto invalidated = loop->scheduledTimer(0.001, true, [&](Timer& timer) {
        ran.emplace_back("invalidated");
        timer.invalidate();
        timer.invalidate();
    });
    std::shared_ptr<Timer> dropped = loop->scheduledTimer(0.002, true, [&](Timer&) {
        ran.emplace_back("dropped");
        dropped.reset();
    });
    std::shared_ptr<DescriptorWatch> second;
    std::shared_ptr<DescriptorWatch> first =
        loop->watch(pipe.reader(), EPOLLIN, [&](std::uint32_t) {
            ran.emplace_back("watch");
            first.reset();
            second.reset();
        });
    const int twin = dup(pipe.reader());
    // Ready at the same time as the first; whichever comes first ends the other.
    second = loop->watch(twin, EPOLLIN, [&](std::uint32_t) {
        ran.emplace_back("watch");
        first.reset();
        second.reset();
    });
    std::shared_ptr<Deadline> deadline = loop->deadline([&] {
        ran.emplace_back("deadline");
        deadline.reset();
    });
    deadline->arm(Clock::now() + 3ms);
    std::ignore = loop->scheduledTimer(0.001, true, [](Timer&) { FAIL() << "no one holds it"; });

    runFor(*loop, 10ms);
    close(twin);
    EXPECT_THAT(ran, UnorderedElementsAre("watch", "invalidated", "dropped", "deadline"));
}

TEST_F(EventLoopTest, TheDescriptorServesAHostThatPolls) {
    const Pipe pipe;
    std::vector<std::string> ran;
    const auto timer = loop->scheduledTimer(0.001, true, [&](Timer& self) {
        ran.emplace_back("tick");
        if (ran.size() == 3) {
            self.invalidate();
        }
    });
    ASSERT_TRUE(pollUntil(*loop, [&] { return ran.size() == 3; }));

    // From here on every change is made while the host is between two polls.
    const auto deadline = loop->deadline([&] { ran.emplace_back("deadline"); });
    deadline->arm(Clock::now() + 2 * patience);
    loop->dispatch();
    deadline->arm(Clock::now() + 1ms);
    ASSERT_TRUE(pollUntil(*loop, [&] { return ran.size() == 4; }));
    deadline->arm(Clock::now());
    ASSERT_TRUE(pollUntil(*loop, [&] { return ran.size() == 5; }));

    std::shared_ptr<DescriptorWatch> watch;
    watch = loop->watch(pipe.reader(), 0, [&](std::uint32_t events) {
        ran.emplace_back(events == EPOLLIN ? "readable" : "other");
        watch->setEvents(0);
    });
    pipe.fill();
    watch->setEvents(EPOLLIN);
    ASSERT_TRUE(pollUntil(*loop, [&] { return ran.size() == 6; }));
    loop->dispatch();
    EXPECT_THAT(ran, ElementsAre("tick", "tick", "tick", "deadline", "deadline", "readable"));
}

TEST_F(EventLoopTest, MoreThanOneTurnsWorkOfDueTimersIsNotLeftLyingAround) {
    constexpr std::size_t count = 1000;
    std::size_t ran = 0;
    std::vector<std::shared_ptr<Deadline>> deadlines;
    for (std::size_t i = 0; i < count; ++i) {
        deadlines.push_back(loop->deadline([&] { ++ran; }));
        deadlines.back()->arm(Clock::now());
    }
    std::size_t dispatches = 0;
    EXPECT_TRUE(pollUntil(*loop, [&] { return ++dispatches > 1 && ran == count; })) << ran;
    EXPECT_GT(dispatches, 2U) << "the host got no turn in between";
}

TEST_F(EventLoopTest, WhatIsDueTogetherWakesOnceYetStopsAndThrowsOneByOne) {
    std::vector<std::string> ran;
    const auto start = Clock::now();
    const auto at = [&](auto from, auto slack, std::string name, auto body) {
        auto deadline = loop->deadline([&ran, start, from, name, body] {
            EXPECT_GE(Clock::now() - start, from);
            ran.push_back(name);
            body();
        });
        deadline->arm(start + from, slack);
        return deadline;
    };
    const auto none = [] {};
    const std::vector<std::shared_ptr<Deadline>> deadlines{
        at(10ms, 2 * patience, "lenient", none), at(60s, 60s, "later", none),
        at(20ms, 0s, "throws", [] { throw std::runtime_error("thrown"); }),
        at(20ms, 0s, "stops", [&] { loop->stop(); }), at(20ms, 5ms, "last", none)};

    EXPECT_EQ(thrownBy([&] { loop->run(); }), "thrown");
    EXPECT_THAT(ran, ElementsAre("lenient", "throws"));
    loop->run();
    EXPECT_THAT(ran, ElementsAre("lenient", "throws", "stops"));
    EXPECT_TRUE(pollUntil(*loop, [&] { return ran.size() == 4; }));
    EXPECT_LT(Clock::now() - start, patience);
}

TEST_F(EventLoopTest, ADeadlineLongPastDoesNotWaitForAllThatIsDeferred) {
    int deferred = 0;
    std::shared_ptr<Deferral> next;
    next = loop->deferral([&] { ++deferred < 100 ? next->schedule() : loop->stop(); });
    int deferredBefore = -1;
    const auto deadline = loop->deadline([&] { deferredBefore = deferred; });
    next->schedule();
    deadline->arm(Deadline::Time()); // as Avahi does
    loop->run();
    EXPECT_THAT(deferredBefore, testing::AllOf(testing::Ge(0), testing::Lt(10)));
}

TEST_F(EventLoopTest, WhatTheLastCallbackOfARunChangedIsArmedForAHostThatPolls) {
    bool ran = false;
    const auto deadline = loop->deadline([&] { ran = true; });
    const auto timer = loop->scheduledTimer(0.001, false, [&](Timer&) {
        deadline->arm(Clock::now() + 1ms);
        loop->stop();
    });
    loop->run();
    EXPECT_FALSE(ran);
    EXPECT_TRUE(pollUntil(*loop, [&] { return ran; }));
}

TEST_F(EventLoopTest, ExceptionsLeaveOneByOneAndTheLoopGoesOn) {
    const auto guard = giveUp(*loop);
    struct Way {
        const char* name;
        std::function<void()> go;
    };
    const std::vector<Way> ways{
        {"run", [&] { loop->run(); }},
        {"dispatch", [&] { pollUntil(*loop, [] { return false; }); }},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        int ticks = 0;
        const auto first = loop->scheduledTimer(0.001, true, [&](Timer&) {
            if (++ticks == 2) {
                throw std::runtime_error("done");
            }
            throw std::runtime_error("first");
        });
        EXPECT_EQ(thrownBy(way.go), "first");
        // Two at once, as from a C library that calls back from inside one of our calls.
        loop->guarded([] { throw std::runtime_error("second"); });
        loop->guarded([] { throw std::runtime_error("third"); });
        EXPECT_EQ(thrownBy(way.go), "second");
        EXPECT_EQ(thrownBy(way.go), "third");
        EXPECT_EQ(thrownBy(way.go), "done");
    }
}

TEST_F(EventLoopTest, StopHoldsForOneRunAlsoWhenItCameBefore) {
    loop->stop();
    loop->stop();
    loop->run();

    bool ticked = false;
    const auto timer = loop->scheduledTimer(0.001, false, [&](Timer&) {
        ticked = true;
        loop->stop();
    });
    loop->run();
    EXPECT_TRUE(ticked);
}

TEST_F(EventLoopTest, ALoopRefusesToRunInsideItsOwnCallback) {
    for (const auto& call : {&RunLoop::run, &RunLoop::dispatch}) {
        const auto timer =
            loop->scheduledTimer(0.001, false, [&](Timer&) { (loop.get()->*call)(); });
        EXPECT_THROW(loop->run(), std::logic_error);
    }
}

TEST_F(EventLoopTest, AnIdleLoopSleeps) {
    const auto gone = loop->scheduledTimer(0.001, true, [](Timer&) {});
    runFor(*loop, 5ms);
    gone->invalidate();

    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    runFor(*loop, 300ms);
    getrusage(RUSAGE_THREAD, &after);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 5);
}

TEST(EventLoop, AHandleMayOutliveTheLoopOfItsThread) {
    std::shared_ptr<Timer> timer;
    std::shared_ptr<Deadline> deadline;
    std::thread([&] {
        const auto loop = EventLoop::current();
        timer = loop->scheduledTimer(0.001, true, [](Timer&) { FAIL(); });
        deadline = loop->deadline([] { FAIL(); });
    }).join();
    deadline->arm(Clock::now());
    deadline->disarm();
    timer->invalidate();
}

} // namespace
} // namespace AmbrelKit::Linux
