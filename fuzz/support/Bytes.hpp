#ifndef AMBREL_FUZZ_SUPPORT_BYTES_HPP
#define AMBREL_FUZZ_SUPPORT_BYTES_HPP

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

/// Aborts where something is not as promised, which the fuzzer takes for a fault.
inline void check(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// An input, read value by value: any bytes make some values, and a change of a few bytes changes
/// few of them. Behind the end everything is zero or empty.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size)
        : left_(reinterpret_cast<const char*>(data), size) {}

    [[nodiscard]] bool isEmpty() const { return left_.empty(); }

    std::uint8_t byte() {
        const auto one = take(1);
        return one.empty() ? 0 : static_cast<std::uint8_t>(one.front());
    }

    std::string_view take(std::size_t count) {
        const auto taken = left_.substr(0, count);
        left_.remove_prefix(taken.size());
        return taken;
    }

    /// A byte that is a text's length; from 0xC0 on it stands for one of the words.
    std::string text(const std::vector<std::string>& words) {
        constexpr std::uint8_t firstWord = 0xC0;
        const std::uint8_t length = byte();
        if (length >= firstWord && !words.empty()) {
            return words[(length - firstWord) % words.size()];
        }
        return std::string(take(length));
    }

private:
    std::string_view left_;
};

#endif
