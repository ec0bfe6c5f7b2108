// A command line, one argument a line, and behind an empty line a configuration: both are taken or
// refused in one line. No command runs.

#include "fuzz/Properties.hpp"
#include "tools/ambrel/Arguments/Command.hpp"
#include "tools/ambrel/Arguments/Configuration.hpp"
#include "tools/ambrel/Arguments/UsageProblem.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <fstream>
#include <functional>
#include <utility>
#include <vector>

using namespace Ambrel;

namespace {

using Define = void (*)(CLI::App&, ExitStatus&);

constexpr std::pair<const char*, Define> commands[]{
    {"scan", defineScanCommand},     {"watch", defineWatchCommand},   {"live", defineLiveCommand},
    {"record", defineRecordCommand}, {"replay", defineReplayCommand}, {"store", defineStoreCommand},
    {"report", defineReportCommand}, {"doctor", defineDoctorCommand},
};

/// What runs a command, which also owns what its options are read into.
using Action = std::function<void()>;

struct Muted : CLI::App {
    /// Takes the actions of a command and of its own commands away.
    static void mute(CLI::App& command, std::vector<Action>& taken) {
        taken.push_back(std::exchange(command.*(&Muted::final_callback_), nullptr));
        for (CLI::App* one : commandsOf(command)) {
            mute(*one, taken);
        }
    }
};

void parse(std::vector<std::string> arguments) {
    std::vector<Action> actions;
    CLI::App app("", "ambrel");
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.require_subcommand(1);
    addConfiguration(app);
    app.add_subcommand("help")->prefix_command();
    ExitStatus status = done;
    for (const auto& [name, define] : commands) {
        addCommand(app, name, "", [&, define = define](CLI::App& command) {
            define(command, status);
            Muted::mute(command, actions);
        });
    }
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(arguments);
    } catch (const CLI::Success&) { // --help, --print-config
    } catch (const CLI::ParseError& error) {
        throw CommandError(badInput, usageProblem(app, error));
    }
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fuzz::Scratch configuration("AMBREL_CONFIG");
    const std::string_view text = Fuzz::textOf(data, size);
    const auto end = std::min(text.find("\n\n"), text.size());
    std::vector<std::string> arguments;
    for (const std::string_view argument : Fuzz::split(text.substr(0, end), '\n')) {
        if (argument.starts_with("--config") || argument.find('\0') != argument.npos) {
            return 0; // of a file that is none of ours; no argument at all
        }
        arguments.emplace_back(argument);
    }
    std::ofstream(configuration.path, std::ios::binary)
        << text.substr(std::min(end + 2, text.size()));
    const Fuzz::Captured output(std::cout);
    const Fuzz::Captured errors(std::cerr);
    try {
        parse(arguments);
    } catch (const CommandError& error) {
        Fuzz::require(error.status() == badInput, "it is the input's fault", error.what());
        say(error.what());
    }
    Fuzz::requireHarmless(output.text());
    Fuzz::requireHarmless(errors.text());
    const std::string told = errors.text();
    Fuzz::require(std::count(told.begin(), told.end(), '\n') <= 1, "it is told in one line", told);
    return 0;
}
