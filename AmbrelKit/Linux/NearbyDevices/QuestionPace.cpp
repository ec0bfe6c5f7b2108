#include "AmbrelKit/Linux/NearbyDevices/QuestionPace.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// Within it the answers to a question come: Avahi sends it after 100 ms, a responder takes up to
/// 120 ms.
constexpr std::chrono::milliseconds pause{250};

/// After it one begins with a single question again.
constexpr std::chrono::milliseconds rest{400};

/// More records than this in half a second are many.
constexpr std::size_t many = 300;

/// What so many questions have brought tells what the others will bring.
constexpr std::size_t enoughToTell = 3;

constexpr std::chrono::seconds patience{4};

} // namespace

QuestionPace::QuestionPace(EventLoop& loop, std::function<std::size_t()> recentRecords)
    : recentRecords_(std::move(recentRecords)), next_(loop.deadline([this] { step(); })) {}

void QuestionPace::add(std::function<void()> ask) {
    const auto now = Clock::now();
    if (waiting_.empty()) {
        latest_ = now + patience;
        next_->arm(lastStep_ + pause);
        if (now - lastStep_ > rest) {
            atOnce_ = 1;
            asked_ = 0;
        }
    }
    waiting_.push_back(std::move(ask));
    if (now - lastStep_ >= pause) {
        step();
    }
}

void QuestionPace::step() {
    lastStep_ = Clock::now();
    next_->arm(lastStep_ + pause);
    for (auto left = howMany(); left > 0 && !waiting_.empty(); --left) {
        const auto ask = std::move(waiting_.front());
        waiting_.pop_front();
        ++asked_;
        ask();
    }
    if (waiting_.empty()) {
        next_->disarm();
    }
}

std::size_t QuestionPace::howMany() {
    const auto recent = recentRecords_();
    if (lastStep_ >= latest_) {
        return waiting_.size();
    }
    if (recent > many) {
        atOnce_ = 1;
        asked_ = 0;
        return 0;
    }
    if (asked_ >= enoughToTell && recent * waiting_.size() <= many * asked_) {
        return waiting_.size();
    }
    return std::exchange(atOnce_, 2 * atOnce_);
}

} // namespace AmbrelKit::Linux
