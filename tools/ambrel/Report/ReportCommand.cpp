#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/Arguments/TimeSpan.hpp"
#include "tools/ambrel/Collecting/ResultFile.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Report/LocalTime.hpp"
#include "tools/ambrel/Report/Page.hpp"
#include "tools/ambrel/Report/Report.hpp"
#include "tools/ambrel/Store/Store.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>

namespace Ambrel {

namespace {

using AmbrelKit::AmbrelStorage;
using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

struct ReportArguments {
    TimeSpan span;
    std::optional<std::string> file; ///< "-" is standard output, as none is
};

/// The model of the page.
JSONDictionary modelOf(const ReportArguments& arguments) {
    const auto unreadable = std::make_shared<std::size_t>(0);
    const AmbrelStorage& store = storeReportingTo([unreadable](const std::string& line) {
        ++*unreadable;
        say(line);
    });
    Report report;
    forEachStored(store, arguments.span,
                  [&report](JSONDictionary collection) { report.add(std::move(collection)); });
    JSONDictionary model = report.model();
    if (model.at("untimed") != 0) {
        sayNote("collections left out: " + model.at("untimed").dump() +
                " (without a time, with one beyond every calendar, or not in the order of their "
                "files)");
    }
    model["made"] = calendarTime(secondsNow()).value_or(0);
    const auto since = calendarTime(arguments.span.since);
    model["since"] = since ? JSONValue(*since) : JSONValue();
    model["unreadable"] = *unreadable;
    return model;
}

ExitStatus run(const ReportArguments& arguments) {
    if (!arguments.file && isatty(STDOUT_FILENO) == 1) {
        throw CommandError(badInput, "a report is for a browser: name its file, as in "
                                     "-o report.html (-o - prints it all the same)");
    }
    std::optional<ResultFile> file;
    if (arguments.file && *arguments.file != "-") {
        file.emplace(*arguments.file);
    }
    const JSONDictionary model = modelOf(arguments);
    if (file) {
        file->write(reportPage(model));
        file->finish();
    } else {
        printResult(reportPage(model));
    }
    return model.at("unreadable") == 0 ? done : failed;
}

} // namespace

void defineReportCommand(CLI::App& command, ExitStatus& status) {
    const auto arguments = std::make_shared<ReportArguments>();
    addTimeSpan(command, arguments->span);
    command
        .add_option("-o,--output", arguments->file,
                    "the page's file; it is replaced when the new one is whole "
                    "(default: standard output, if that is no terminal)")
        ->type_name("FILE");
    command.callback([arguments, &status] { status = run(*arguments); });
}

} // namespace Ambrel
