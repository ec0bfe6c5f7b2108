#ifndef AMBREL_CURSES_HPP
#define AMBREL_CURSES_HPP

#include "AmbrelKit/Linux/Libraries/LateLibrary.hpp"

#define NCURSES_NOMACROS
#include <curses.h>

namespace Ambrel {

/// What draws on the terminal, and what that is linked with: of all the commands, one needs it.
inline constexpr AmbrelKit::Linux::LateLibrary cursesLibrary{"libncursesw.so.6"};

AMBRELKIT_LATE(cursesLibrary, cbreak);
AMBRELKIT_LATE(cursesLibrary, clearok);
AMBRELKIT_LATE(cursesLibrary, COLOR_PAIR);
AMBRELKIT_LATE(cursesLibrary, curs_set);
AMBRELKIT_LATE(cursesLibrary, def_prog_mode);
AMBRELKIT_LATE(cursesLibrary, def_shell_mode);
AMBRELKIT_LATE(cursesLibrary, delscreen);
AMBRELKIT_LATE(cursesLibrary, endwin);
AMBRELKIT_LATE(cursesLibrary, getmaxx);
AMBRELKIT_LATE(cursesLibrary, getmaxy);
AMBRELKIT_LATE(cursesLibrary, init_pair);
AMBRELKIT_LATE(cursesLibrary, keypad);
AMBRELKIT_LATE(cursesLibrary, newterm);
AMBRELKIT_LATE(cursesLibrary, nodelay);
AMBRELKIT_LATE(cursesLibrary, noecho);
AMBRELKIT_LATE(cursesLibrary, nonl);
AMBRELKIT_LATE(cursesLibrary, putp);
AMBRELKIT_LATE(cursesLibrary, reset_prog_mode);
AMBRELKIT_LATE(cursesLibrary, resizeterm);
AMBRELKIT_LATE(cursesLibrary, set_escdelay);
AMBRELKIT_LATE(cursesLibrary, start_color);
AMBRELKIT_LATE(cursesLibrary, tigetstr);
AMBRELKIT_LATE(cursesLibrary, use_default_colors);
AMBRELKIT_LATE(cursesLibrary, waddstr);
AMBRELKIT_LATE(cursesLibrary, wattrset);
AMBRELKIT_LATE(cursesLibrary, wclrtoeol);
AMBRELKIT_LATE(cursesLibrary, wget_wch);
AMBRELKIT_LATE(cursesLibrary, wmove);
AMBRELKIT_LATE(cursesLibrary, wrefresh);

inline WINDOW* wholeScreen() { return *static_cast<WINDOW**>(cursesLibrary.symbol("stdscr")); }
inline WINDOW* shownScreen() { return *static_cast<WINDOW**>(cursesLibrary.symbol("curscr")); }

} // namespace Ambrel

#endif
