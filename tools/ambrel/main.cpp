#include "tools/ambrel/Arguments/Command.hpp"
#include "tools/ambrel/Arguments/Configuration.hpp"
#include "tools/ambrel/Arguments/UsageProblem.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Process/StandardStreams.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace Ambrel;

constexpr const char* description =
    "Takes a ten-second snapshot of what surrounds this device, as a JSON dictionary";

struct {
    const char* name;
    const char* purpose;
    void (*define)(CLI::App& command, ExitStatus& status);
} const commands[]{
#ifdef AMBREL_WITH_LINUX
    {"scan", "Takes one collection, ten seconds long, and prints it", defineScanCommand},
    {"watch", "Takes one now, and when device or user come back", defineWatchCommand},
    {"live", "Shows on the whole terminal what comes and goes", defineLiveCommand},
    {"record", "Takes one, and writes a script that replays it", defineRecordCommand},
#endif
    {"replay", "Runs a script, and prints what the kit did, call by call", defineReplayCommand},
    {"store", "Keeps collections in files", defineStoreCommand},
    {"report", "Makes one page of the saved collections, for a browser", defineReportCommand},
#ifdef AMBREL_WITH_LINUX
    {"doctor", "Says whether each source works here, or what would help", defineDoctorCommand},
#endif
};

void addHelpCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("help", "Prints the help of a command");
    const auto names = std::make_shared<std::vector<std::string>>();
    command->add_option("COMMAND", *names, "such as scan, or store show")->type_name("");
    command->callback([&app, names] {
        const CLI::App* found = &app;
        std::string path = app.get_name();
        for (const std::string& name : *names) {
            found = &commandNamed(*found, name);
            path += " " + name;
        }
        printHelp(app.get_formatter()->make_help(found, path, CLI::AppFormatMode::Normal));
    });
}

/// As the help is to be in every command that is added from here on.
void setHelp(CLI::App& app) {
    app.set_help_flag("-h,--help", "print this help");
    app.set_version_flag("--version", "ambrel " AMBREL_VERSION, "print the version");
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.group("Commands");
    app.get_formatter()->label("Positionals", "Arguments");
    app.get_formatter()->label("REQUIRED", "");
    app.get_formatter()->label("TEXT", "");
    constexpr std::size_t column = 24; // of the descriptions
    app.get_formatter()->column_width(column);
}

int run(int argc, char** argv) {
    CLI::App app(description, "ambrel");
    setHelp(app);
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.require_subcommand(1);
    addConfiguration(app);
    ExitStatus status = done;
    for (const auto& [name, purpose, define] : commands) {
        addCommand(app, name, purpose,
                   [&status, define = define](CLI::App& command) { define(command, status); });
    }
    addHelpCommand(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) { // --help, --version
        std::ostringstream text;
        app.exit(request, text);
        printHelp(text.str());
    } catch (const CLI::ParseError& error) {
        throw CommandError(badInput, usageProblem(app, error));
    }
    return status;
}

[[noreturn]] void dieOf(int signal) {
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    std::signal(signal, SIG_DFL);
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
    std::raise(signal);
    _exit(128 + signal); // the first process of a container does not die of it
}

int fail(ExitStatus status, const std::exception& error) {
    say(error.what());
    return status;
}

} // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    std::signal(SIGPIPE, SIG_DFL); // a closed pipe ends the program quietly
    try {
        return run(argc, argv);
    } catch (const EndBySignal& end) {
        dieOf(end.signal());
    } catch (const CommandError& error) {
        return fail(error.status(), error);
    } catch (const std::bad_alloc&) {
        say("out of memory");
        return failed;
    } catch (const std::exception& error) {
        return fail(failed, error);
    }
}
