#include "tools/ambrel/Commands.hpp"

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

namespace {

constexpr const char* description =
    "Takes a ten-second snapshot of what surrounds this device, as one JSON dictionary.";

/// What is wrong where a command was to be named and is not.
std::optional<std::string> missingCommand(const CLI::App& app) {
    const CLI::App* command = &app;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
    }
    if (command->get_subcommands([](const CLI::App*) { return true; }).empty()) {
        return std::nullopt;
    }
    const auto rest = command->remaining();
    const std::string problem =
        rest.empty() ? "a command is missing" : "\"" + rest.front() + "\" is no command";
    return problem + " (see " + (command == &app ? "" : "ambrel ") + command->get_name() +
           " --help)";
}

int run(int argc, char** argv) {
    using namespace Ambrel;
    CLI::App app(description, "ambrel");
    app.set_version_flag("--version", "ambrel " AMBREL_VERSION);
    app.require_subcommand(1);
    ExitStatus status = done;
#ifdef AMBREL_WITH_LINUX
    addScanCommand(app, status);
    addWatchCommand(app, status);
    addRecordCommand(app, status);
#endif
    addReplayCommand(app, status);
    addStoreCommand(app, status);
#ifdef AMBREL_WITH_LINUX
    addDoctorCommand(app, status);
#endif
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) { // --help, --version
        return app.exit(request);
    } catch (const CLI::ParseError& error) {
        throw CommandError(badInput, missingCommand(app).value_or(error.what()));
    }
    return status;
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_DFL); // a closed pipe ends the program quietly
    try {
        return run(argc, argv);
    } catch (const Ambrel::CommandError& error) {
        std::cerr << "ambrel: " << error.what() << '\n';
        return error.status();
    } catch (const std::exception& error) {
        std::cerr << "ambrel: " << error.what() << '\n';
        return Ambrel::failed;
    }
}
