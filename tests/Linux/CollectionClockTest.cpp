#include "AmbrelKit/Linux/Lifecycle/CollectionClock.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace AmbrelKit::Linux {
namespace {

using namespace std::chrono_literals;

class HandTimer final : public Timer {
public:
    void invalidate() override {}
};

class CollectionClockTest : public testing::Test {
protected:
    CollectionClockTest() {
        clock.wallClock = [this] { return CollectionClock::TimePoint(wall + boot); };
        clock.sinceBoot = [this] { return boot; };
    }

    std::shared_ptr<Timer> begin() {
        return timers(1, true, [this](Timer&) { ++ticks; });
    }

    /// Of the time that the wall clock would show, had nobody set it.
    std::chrono::seconds told() {
        return std::chrono::round<std::chrono::seconds>(clock.now().time_since_epoch()) - 1000h;
    }

    CollectionClock::Boot boot = 0s;
    std::chrono::seconds wall = 1000h;
    CollectionClock clock;
    int ticks = 0;
    TimerFactory timers = clock.timerFactory([this](double, bool, TimerTick tick) {
        due.push_back(tick);
        return std::make_shared<HandTimer>();
    });
    std::vector<TimerTick> due;
};

TEST_F(CollectionClockTest, IsSteadyInACollectionAndNeverGoesBack) {
    struct Step {
        const char* what;
        std::chrono::seconds passes, setBy;
        int kits; ///< that collect from then on
        std::chrono::seconds told;
    };
    const std::vector<Step> steps{
        {"set ahead before the first", 10s, 24h, 0, 24h + 10s},
        {"set right again, a collection", 5s, -24h, 1, 24h + 15s},
        {"set back in it", 5s, -24h, 1, 24h + 20s},
        {"set ahead in it, another kit's begins", 2s, 72h, 2, 24h + 22s},
        {"the first ends, all are set right", 4s, -48h, 1, 24h + 26s},
        {"and the other", 4s, 0s, 0, 24h + 30s},
        {"soon, a record may be given again", 19s, 0s, 0, 24h + 49s},
        {"later it waits for the wall clock", 1h, 0s, 0, 24h + 80s},
        {"a collection", 0s, 0s, 1, 24h + 80s},
        {"slept through", 12h, 0s, 1, 36h + 80s},
        {"set ahead, it ends", 1s, 48h, 0, 36h + 81s},
        {"which is followed", 1s, 0s, 0, 61h + 51s},
    };
    std::vector<std::shared_ptr<Timer>> running;
    for (const Step& step : steps) {
        boot += step.passes / 2;
        static_cast<void>(clock.reading()); // who only looks has the time not go on
        boot += step.passes - step.passes / 2;
        wall += step.setBy;
        EXPECT_EQ(told(), step.told) << step.what;
        while (running.size() < static_cast<std::size_t>(step.kits)) {
            running.push_back(begin());
        }
        while (running.size() > static_cast<std::size_t>(step.kits)) {
            running.front()->invalidate();
            running.front()->invalidate();
            running.erase(running.begin());
        }
    }
}

TEST_F(CollectionClockTest, TicksWhenToldToAndNotInAPause) {
    EXPECT_FALSE(clock.begun());
    boot = 7s;
    auto first = begin();
    auto second = begin();
    EXPECT_EQ(clock.begun(), 7s);
    HandTimer any;
    {
        const CollectionClock::Pause pause(clock);
        due[0](any);
        EXPECT_EQ(ticks, 0);
        clock.tick();
        EXPECT_EQ(ticks, 2);
    }
    due[1](any);
    EXPECT_EQ(ticks, 3);
    first->invalidate();
    second.reset();
    clock.tick();
    due[0](any);
    due[1](any);
    EXPECT_EQ(ticks, 3);
    EXPECT_FALSE(clock.begun());
}

} // namespace
} // namespace AmbrelKit::Linux
