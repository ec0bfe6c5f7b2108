#ifndef AMBREL_CONFIGURATION_HPP
#define AMBREL_CONFIGURATION_HPP

namespace CLI {
class App;
} // namespace CLI

namespace Ambrel {

/// Has the options of the program's commands take what the command line leaves open from a file:
/// the one of --config, else of $AMBREL_CONFIG, else the user's own. Its tables are the commands,
/// its keys their long options. Adds --config, and --print-config, which prints what holds.
///
/// A mistake in the file is thrown as `CommandError` with file and line, before the command runs.
/// A user's own file that another user could have written is not read; a note says so.
void addConfiguration(CLI::App& program);

} // namespace Ambrel

#endif
