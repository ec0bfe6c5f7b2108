#include "AmbrelKit/Platform/PrintableText.hpp"
#include "AmbrelKit/Simulated/Replay/Replay.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/InputFile.hpp"
#include "tools/ambrel/ReadingScript.hpp"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>

namespace Ambrel {

namespace {

using namespace AmbrelKit::Simulated;

struct ReplayArguments {
    std::string file;
    TraceOptions trace;
};

/// Each line at once: a reader behind a pipe follows a long run, and gets the trace byte for byte.
/// On a terminal no text of the script commands it.
void printLine(std::string_view line) {
    static const bool forPeople = isatty(STDOUT_FILENO) == 1;
    if (forPeople) {
        std::cout << AmbrelKit::printableJSON(line);
    } else {
        std::cout << line;
    }
    std::cout.flush();
}

void run(const ReplayArguments& arguments) {
    InputFile script(arguments.file);
    readingScript(script.name(), [&] { replay(script.stream(), arguments.trace, printLine); });
    if (!std::cout) {
        throw CommandError(failed, "can't write the trace");
    }
}

} // namespace

void defineReplayCommand(CLI::App& command, ExitStatus& status) {
    const auto arguments = std::make_shared<ReplayArguments>();
    command.add_option("FILE", arguments->file, "the script, or - for standard input")->required();
    command.add_flag("--queries", arguments->trace.queries,
                     "print the questions to the host's delegate too");
    command.add_flag("--quiet", arguments->trace.quiet,
                     "print the delivered dictionaries and nothing else");
    command.callback([arguments, &status] {
        run(*arguments);
        status = done;
    });
}

} // namespace Ambrel
