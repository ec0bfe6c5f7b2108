#include "tools/ambrel/Choices.hpp"
#include "tools/ambrel/CollectionOptions.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Output.hpp"
#include "tools/ambrel/TerminalText.hpp"

#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace Ambrel {

using namespace AmbrelKit;
using AmbrelKit::Linux::SourceDiagnosis;

namespace {

std::vector<SourceDiagnosis> examine(Linux::LocationSourceKind location) {
    std::vector<SourceDiagnosis> found;
    const auto loop = RunLoop::current();
    const auto diagnosis =
        Linux::Diagnosis::start(locationOptions(location), [&](const auto& sources) {
            found = sources;
            loop->stop();
        });
    loop->run();
    return found;
}

std::string asJSON(const SourceDiagnosis& found) {
    JSONValue line{{"source", found.source}, {"usable", found.usable}, {"finding", found.finding}};
    if (!found.remedy.empty()) {
        line["remedy"] = found.remedy;
    }
    return formatted(line.get<JSONDictionary>(), OutputFormat::json);
}

std::string asLine(const SourceDiagnosis& found) {
    constexpr std::size_t width = 11; // of the longest name, and a gap
    std::string line = found.source;
    line.resize(width, ' ');
    line += found.usable ? "ok  " : "no  ";
    line += printable(found.finding);
    if (!found.remedy.empty()) {
        line += ": " + printable(found.remedy);
    }
    return line + "\n";
}

} // namespace

void addDoctorCommand(CLI::App& app, ExitStatus& status) {
    struct Arguments {
        Linux::LocationSourceKind location = Linux::LocationSourceKind::automatic;
        std::string format;
    };
    CLI::App* command = app.add_subcommand(
        "doctor", "Says whether each source works here, and if not, what would help");
    const auto arguments = std::make_shared<Arguments>();
    addLocationOption(*command, arguments->location);
    command->add_option("--format", arguments->format, "table or json (one object a line)")
        ->type_name("FORMAT")
        ->check(oneOf({"table", "json"}));
    command->footer("Asks for the location as a scan does. Exit status 3: a source is not usable.");
    command->callback([arguments, &status] {
        const auto found = examine(arguments->location);
        std::string text;
        for (const SourceDiagnosis& source : found) {
            text += arguments->format == "json" ? asJSON(source) : asLine(source);
        }
        printResult(text);
        const bool usable = std::ranges::all_of(found, &SourceDiagnosis::usable);
        status = usable ? done : notUsable;
    });
}

} // namespace Ambrel
