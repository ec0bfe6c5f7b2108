#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_QUESTIONPACE_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_QUESTIONPACE_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <deque>

namespace AmbrelKit::Linux {

/// When each of many questions is asked. At first one at once, and at each step twice as many as
/// before, or all, where the first ones have brought so little that the others will hardly bring
/// much. While many records come in, the rest waits for these to be digested, but none so long that
/// its answers would come too late for a collection.
class QuestionPace {
public:
    /// `recentRecords` tells how many have come within the last half second.
    QuestionPace(EventLoop& loop, std::function<std::size_t()> recentRecords);

    /// Asks now or later, inside this call or from the loop.
    void add(std::function<void()> ask);

    /// Some wait.
    [[nodiscard]] bool isAsking() const { return !waiting_.empty(); }

private:
    using Clock = std::chrono::steady_clock;

    void step();
    [[nodiscard]] std::size_t howMany();

    std::function<std::size_t()> recentRecords_;
    std::deque<std::function<void()>> waiting_;
    std::size_t atOnce_ = 1;
    std::size_t asked_ = 0; ///< one after the other, while few records came
    Clock::time_point lastStep_;
    Clock::time_point latest_; ///< for those that wait
    std::shared_ptr<Deadline> next_;
};

} // namespace AmbrelKit::Linux

#endif
