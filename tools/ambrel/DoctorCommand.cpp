#include "tools/ambrel/Arguments/Choices.hpp"
#include "tools/ambrel/Collecting/CollectionOptions.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Terminal/Output.hpp"
#include "tools/ambrel/Terminal/Table.hpp"

#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace Ambrel {

using namespace AmbrelKit;
using AmbrelKit::Linux::SourceDiagnosis;

namespace {

struct DoctorArguments {
    Linux::LocationSourceKind location = Linux::LocationSourceKind::automatic;
    Linux::MDNSStack mdns = Linux::MDNSStack::automatic;
    std::vector<std::string> only; ///< empty: every source
    std::vector<std::string> without;
    OutputOptions output;
};

/// Whether one of `names`, as the command line has them, stands for the source.
bool namesAny(const std::vector<std::string>& names, const std::string& source) {
    const bool ofNetwork = source == "services" || source == "address" || source == "wifi";
    return std::ranges::any_of(names, [&](const std::string& name) {
        return name == source || (ofNetwork && name == "network");
    });
}

std::vector<SourceDiagnosis> examine(const DoctorArguments& arguments) {
    auto sources = Linux::Diagnosis::sources();
    std::erase_if(sources, [&](const std::string& source) {
        return namesAny(arguments.without, source) ||
               (!arguments.only.empty() && !namesAny(arguments.only, source));
    });
    if (sources.empty()) {
        throw CommandError(badInput, "--only and --without leave no source to examine");
    }
    std::vector<SourceDiagnosis> found;
    const auto loop = RunLoop::current();
    const auto diagnosis = Linux::Diagnosis::start(
        locationOptions(arguments.location),
        [&](const auto& all) {
            found = all;
            loop->stop();
        },
        sources, arguments.mdns);
    loop->run();
    return found;
}

std::string asJSON(const SourceDiagnosis& found) {
    JSONValue line{{"source", found.source},
                   {"usable", found.usable},
                   {"state", code(found.state)},
                   {"finding", found.finding}};
    if (!found.code.empty()) {
        line["code"] = found.code;
    }
    if (!found.remedy.empty()) {
        line["remedy"] = found.remedy;
    }
    return formatted(line.get<JSONDictionary>(), OutputFormat::json);
}

/// A row each; where it would not fit the terminal, its words go on in further lines.
std::string asText(const std::vector<SourceDiagnosis>& found, const Page& page) {
    Table table({{.heading = ""}, {.heading = ""}, {.heading = "", .least = 30, .gap = " "}}, page);
    for (const SourceDiagnosis& each : found) {
        table.add({Cell(each.source, Meaning::heading),
                   each.usable ? Cell("ok", Meaning::good) : Cell("no", Meaning::bad),
                   Cell(withRemedy(each.finding, each.remedy))});
    }
    return table.take();
}

} // namespace

void defineDoctorCommand(CLI::App& command, ExitStatus& status) {
    const auto arguments = std::make_shared<DoctorArguments>();
    auto names = Linux::Diagnosis::sources();
    names.emplace_back("network");
    addListOption(command, "--only", arguments->only, "examine only these sources", names);
    addListOption(command, "--without", arguments->without, "examine all but these sources", names);
    addMDNSOption(command, arguments->mdns);
    addLocationOption(command, arguments->location);
    addFormatOptions(command, arguments->output, {"table", "json"});
    addColorOption(command, arguments->output);
    command.footer(
        "Sources are bluetooth, services, location, address, wifi and lifecycle; network stands "
        "for services, address and wifi.\n"
        "Asks for the location as a scan does. Exit status 3: one of the sources is not usable.");
    command.callback([arguments, &status] {
        const auto found = examine(*arguments);
        const OutputOptions& output = arguments->output;
        const bool isJSON = output.json || output.format == "json";
        std::string text = isJSON ? "" : asText(found, page(STDOUT_FILENO, output.color));
        for (const SourceDiagnosis& source : isJSON ? found : std::vector<SourceDiagnosis>{}) {
            text += asJSON(source);
        }
        printResult(text);
        const bool usable = std::ranges::all_of(found, &SourceDiagnosis::usable);
        status = usable ? done : notUsable;
    });
}

} // namespace Ambrel
