#ifndef AMBREL_COMMANDS_HPP
#define AMBREL_COMMANDS_HPP

#include <stdexcept>

namespace CLI {
class App;
} // namespace CLI

namespace Ambrel {

/// What the program ends with.
enum ExitStatus : int {
    done = 0,
    failed = 1,    ///< it could not be done
    badInput = 2,  ///< the command line or an input is wrong
    notUsable = 3, ///< a source is not, which `doctor` or a strict collection was to use
};

/// Ends the program with one line on standard error.
class CommandError : public std::runtime_error {
public:
    CommandError(ExitStatus status, const std::string& reason)
        : std::runtime_error(reason), status_(status) {}

    [[nodiscard]] ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};

/// Ends the program by a signal, as if it had been left to it, once what stands on the stack has
/// been let go.
class EndBySignal {
public:
    explicit EndBySignal(int signal) : signal_(signal) {}

    [[nodiscard]] int signal() const { return signal_; }

private:
    int signal_;
};

// One function a command: adds its options, and what it has besides. Its callback runs the command
// and leaves the exit status in `status`; it may throw `CommandError`.
void defineDoctorCommand(CLI::App& command, ExitStatus& status);
void defineLiveCommand(CLI::App& command, ExitStatus& status);
void defineRecordCommand(CLI::App& command, ExitStatus& status);
void defineReplayCommand(CLI::App& command, ExitStatus& status);
void defineReportCommand(CLI::App& command, ExitStatus& status);
void defineScanCommand(CLI::App& command, ExitStatus& status);
void defineStoreCommand(CLI::App& store, ExitStatus& status);
void defineWatchCommand(CLI::App& command, ExitStatus& status);

} // namespace Ambrel

#endif
