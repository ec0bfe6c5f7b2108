#ifndef AMBREL_SCREEN_HPP
#define AMBREL_SCREEN_HPP

#include "tools/ambrel/Live/TerminalGuard.hpp"
#include "tools/ambrel/Terminal/Style.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct screen;

namespace Ambrel {

/// A piece of a line, which is printable.
struct StyledText {
    std::string text;
    Meaning meaning = Meaning::plain;
};

struct Line {
    std::vector<StyledText> pieces = {};
    bool isSelected = false; ///< shown in reverse, over the whole width
};

struct ScreenSize {
    std::size_t rows = 0;
    std::size_t columns = 0;
};

/// A key that was pressed: a letter, or one of those that have none.
struct Key {
    enum class Name : std::uint8_t {
        text,
        up,
        down,
        pageUp,
        pageDown,
        home,
        end,
        enter,
        escape,
        backspace,
        other,
    };

    Name name = Name::other;
    std::string text = {}; ///< UTF-8
};

/// The whole terminal, by ncurses. Restored when this goes.
class Screen {
public:
    /// `flag` is set while the terminal is not as it was found.
    Screen(ScreenFlag& flag, bool hasColors);
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    [[nodiscard]] ScreenSize size() const;

    /// Shows these lines from the top, and nothing below. What does not fit is cut.
    void show(const std::vector<Line>& lines) const;

    /// What was pressed and not taken yet, or nothing; it does not wait.
    std::optional<Key> takeKey();

    /// The terminal has another size.
    void takeSize();

    /// The program goes on after a stop, in which its guard has restored the terminal.
    void takeBack();

private:
    void takeKeys();

    ScreenFlag& flag_;
    ::screen* screen_; ///< ncurses's
    bool hasColors_;
};

} // namespace Ambrel

#endif
