#include "tests/support/LoopDriver.hpp"

#include <filesystem>
#include <poll.h>

bool LoopDriver::until(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit) const {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd ready{loop_->fileDescriptor(), POLLIN, 0};
        poll(&ready, 1, static_cast<int>(left.count()));
        loop_->dispatch();
    }
    return true;
}

void LoopDriver::during(std::chrono::milliseconds time) const {
    until([] { return false; }, time);
}

bool runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    bool held = condition();
    while (!held && std::chrono::steady_clock::now() < end) {
        LoopDriver().during(std::chrono::milliseconds(5));
        held = condition();
    }
    return held;
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}
