#ifndef AMBREL_OUTPUTOPTIONS_HPP
#define AMBREL_OUTPUTOPTIONS_HPP

#include "tools/ambrel/Terminal/Filter.hpp"
#include "tools/ambrel/Terminal/Style.hpp"

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Ambrel {

/// What the command line says of how results are printed.
struct OutputOptions {
    std::string format; ///< empty: by where the output goes
    bool json = false;  ///< short for the format, and before it
    bool pretty = false;
    ColorChoice color = ColorChoice::automatic;
    std::vector<std::string> columns; ///< of tables; empty: all
    bool asksForTable = false;        ///< by naming the columns on the command line
    Filter filter;
    bool marksTime = false; ///< a table begins with a line across the page that has its time
};

// Each adds options to a command; parsing checks them and fills `options`, which has to live as
// long.

/// --format, one of `formats`, and its short forms.
void addFormatOptions(CLI::App& command, OutputOptions& options,
                      const std::vector<std::string>& formats);

/// --color.
void addColorOption(CLI::App& command, OutputOptions& options);

/// --columns, of `names`.
void addColumnsOption(CLI::App& command, OutputOptions& options,
                      const std::vector<std::string>& names);

/// All that a command has which prints collections: these, and --type and --name.
void addOutputOptions(CLI::App& command, OutputOptions& options);

} // namespace Ambrel

#endif
