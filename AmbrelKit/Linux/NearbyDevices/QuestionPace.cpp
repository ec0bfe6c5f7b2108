#include "AmbrelKit/Linux/NearbyDevices/QuestionPace.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// Within it the answers to a question come: Avahi sends it after 100 ms, a responder takes up to
/// 120 ms.
constexpr std::chrono::milliseconds pause{250};

/// More records than this in half a second are many.
constexpr std::size_t many = 300;

constexpr std::chrono::seconds patience{4};

} // namespace

QuestionPace::QuestionPace(EventLoop& loop, std::function<std::size_t()> recentRecords)
    : recentRecords_(std::move(recentRecords)), next_(loop.deadline([this] { step(); })) {}

void QuestionPace::add(std::function<void()> ask) {
    if (waiting_.empty()) {
        latest_ = std::chrono::steady_clock::now() + patience;
    }
    waiting_.push_back(std::move(ask));
    if (!std::exchange(stepping_, true)) {
        atOnce_ = 1;
        step();
    }
}

void QuestionPace::step() {
    if (waiting_.empty()) {
        stepping_ = false;
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    next_->arm(now + pause);
    if (now >= latest_) {
        atOnce_ = waiting_.size();
    } else if (recentRecords_() > many) {
        atOnce_ = 1;
        return;
    }
    for (auto left = std::exchange(atOnce_, 2 * atOnce_); left > 0 && !waiting_.empty(); --left) {
        const auto ask = std::move(waiting_.front());
        waiting_.pop_front();
        ask();
    }
}

} // namespace AmbrelKit::Linux
