#include "tools/ambrel/Live/Screen.hpp"

#include "tools/ambrel/Live/Curses.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <array>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace Ambrel {

namespace {

/// Colours on the background that the terminal has.
enum Pair : short { good = 1, caution, bad, fresh };

attr_t attributes(Meaning meaning, bool hasColors) {
    const auto coloured = [hasColors](Pair pair) {
        return hasColors ? static_cast<attr_t>(COLOR_PAIR(pair)) : attr_t(A_NORMAL);
    };
    switch (meaning) {
    case Meaning::heading:
        return A_BOLD;
    case Meaning::faint:
        return A_DIM;
    case Meaning::good:
        return coloured(good);
    case Meaning::caution:
        return coloured(caution);
    case Meaning::bad:
        return coloured(bad);
    case Meaning::fresh:
        return coloured(fresh);
    case Meaning::plain:
        break;
    }
    return A_NORMAL;
}

Key keyOf(int status, wint_t code) {
    if (status == KEY_CODE_YES) {
        switch (code) {
        case KEY_UP:
            return {Key::Name::up};
        case KEY_DOWN:
            return {Key::Name::down};
        case KEY_PPAGE:
            return {Key::Name::pageUp};
        case KEY_NPAGE:
            return {Key::Name::pageDown};
        case KEY_HOME:
            return {Key::Name::home};
        case KEY_END:
            return {Key::Name::end};
        case KEY_ENTER:
            return {Key::Name::enter};
        case KEY_BACKSPACE:
            return {Key::Name::backspace};
        default:
            return {};
        }
    }
    switch (code) {
    case '\r':
    case '\n':
        return {Key::Name::enter};
    case '\033':
        return {Key::Name::escape};
    case '\b':
    case '\177':
        return {Key::Name::backspace};
    default:
        break;
    }
    std::array<char, MB_LEN_MAX> bytes{};
    const int length = std::wctomb(bytes.data(), static_cast<wchar_t>(code));
    return code < ' ' || length <= 0
               ? Key{}
               : Key{Key::Name::text, {bytes.data(), static_cast<std::size_t>(length)}};
}

} // namespace

Screen::Screen(ScreenFlag& flag, bool hasColors) : flag_(flag) {
    // What is shown is UTF-8 wherever this runs; numbers are read as in "C".
    std::setlocale(LC_CTYPE, "C.UTF-8");
    flag_ = true;
    screen_ = newterm(nullptr, stdout, stdin);
    if (screen_ == nullptr) {
        flag_ = false;
        throw std::runtime_error("the terminal can't be drawn on");
    }
    for (const int signal :
         {SIGINT, SIGTERM, SIGTSTP}) { // ncurses' handlers draw; the guard restores
        if (std::signal(signal, SIG_DFL) == SIG_IGN) {
            std::signal(signal, SIG_IGN);
        }
    }
    hasColors_ = hasColors && start_color() == OK && use_default_colors() == OK;
    if (hasColors_) {
        init_pair(good, COLOR_GREEN, -1);
        init_pair(caution, COLOR_YELLOW, -1);
        init_pair(bad, COLOR_RED, -1);
        init_pair(fresh, COLOR_CYAN, -1);
    }
    takeKeys();
}

/// Keys come one by one and are not echoed; those that make signals do so, and none stops the
/// output.
void Screen::takeKeys() {
    cbreak();
    noecho();
    nonl();
    constexpr int escapeDelay = 25; // milliseconds
    set_escdelay(escapeDelay);
    keypad(wholeScreen(), TRUE);
    nodelay(wholeScreen(), TRUE);
    curs_set(0);
    termios settings{};
    if (tcgetattr(STDIN_FILENO, &settings) == 0) {
        settings.c_iflag &= ~static_cast<tcflag_t>(IXON);
        tcsetattr(STDIN_FILENO, TCSANOW, &settings);
        def_prog_mode();
    }
}

Screen::~Screen() {
    if (flag_) {
        std::signal(SIGTTOU, SIG_IGN); // without its guard, this may be in the background
        endwin();
        flag_ = false;
    }
    delscreen(screen_);
}

ScreenSize Screen::size() const {
    return {static_cast<std::size_t>(getmaxy(wholeScreen())),
            static_cast<std::size_t>(getmaxx(wholeScreen()))};
}

void Screen::show(const std::vector<Line>& lines) const {
    const auto [rows, columns] = size();
    for (std::size_t row = 0; row < rows; ++row) {
        // Also takes away what the line above has left here, if ncurses finds it wider.
        wmove(wholeScreen(), static_cast<int>(row), 0);
        wclrtoeol(wholeScreen());
        const Line nothing;
        const Line& line = row < lines.size() ? lines[row] : nothing;
        const attr_t all = line.isSelected ? A_REVERSE : A_NORMAL;
        std::size_t column = 0;
        for (const StyledText& piece : line.pieces) {
            const std::string text = cut(piece.text, columns - column);
            wattrset(wholeScreen(), static_cast<int>(attributes(piece.meaning, hasColors_) | all));
            waddstr(wholeScreen(), text.c_str());
            column += displayWidth(text);
        }
        wattrset(wholeScreen(), static_cast<int>(all));
        if (line.isSelected) {
            waddstr(wholeScreen(), std::string(columns - column, ' ').c_str());
        }
    }
    wattrset(wholeScreen(), A_NORMAL);
    wrefresh(wholeScreen());
}

std::optional<Key> Screen::takeKey() {
    wint_t code = 0;
    const int status = wget_wch(wholeScreen(), &code);
    return status == ERR ? std::nullopt : std::optional(keyOf(status, code));
}

void Screen::takeSize() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        resizeterm(size.ws_row, size.ws_col);
    }
}

void Screen::takeBack() {
    if (flag_.exchange(true)) {
        return; // it is this program's still
    }
    def_shell_mode();
    reset_prog_mode();
    sendCapabilities({"smcup", "smkx"});
    curs_set(1);
    curs_set(0);
    takeSize();
    clearok(shownScreen(), TRUE);
    wrefresh(wholeScreen());
}

} // namespace Ambrel
