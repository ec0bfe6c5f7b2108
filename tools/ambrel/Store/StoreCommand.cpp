#include "tools/ambrel/Arguments/Choices.hpp"
#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/Arguments/TimeSpan.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Store/CSV.hpp"
#include "tools/ambrel/Store/DictionaryReader.hpp"
#include "tools/ambrel/Store/DiffCommand.hpp"
#include "tools/ambrel/Store/GeoJSON.hpp"
#include "tools/ambrel/Store/PrintEach.hpp"
#include "tools/ambrel/Store/Prune.hpp"
#include "tools/ambrel/Store/Selection.hpp"
#include "tools/ambrel/Store/Store.hpp"
#include "tools/ambrel/Store/Summary.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ambrel {

namespace {

using AmbrelKit::AmbrelStorage;
using AmbrelKit::JSONDictionary;

/// What the subcommands are given; each uses its own part.
struct StoreArguments {
    std::string selection; ///< of one collection
    TimeSpan span;
    OutputOptions output;
    std::string exportFormat;
    std::string file = "-";
    std::string keep; ///< one of `keptForms`
    bool isRehearsal = false;
};

ExitStatus statusOf(bool whole) { return whole ? done : failed; }

/// The columns fit the first rows; later ones follow as they are read.
ExitStatus printTable(const StoreArguments& arguments) {
    constexpr std::size_t pieceRows = 500;
    Table table(Summary::columns(), page(STDOUT_FILENO, arguments.output.color));
    table.choose(arguments.output.columns);
    std::size_t rows = 0;
    const bool whole =
        forEachStored(arguments.span, [&, now = secondsNow()](const JSONDictionary& collection) {
            table.add(Summary(collection).row(now));
            if (++rows % pieceRows == 0) {
                printResult(table.take());
            }
        });
    if (hasSaved()) {
        const std::string rest = table.take();
        printResult(rest + table.omissions());
    }
    return statusOf(whole);
}

ExitStatus runList(const StoreArguments& arguments) {
    OutputOptions output = arguments.output;
    output.format = output.format.empty() ? "table" : output.format;
    if (outputFormat(output) == OutputFormat::table) {
        return printTable(arguments);
    }
    return statusOf(printEach(arguments.span, {[](const JSONDictionary& collection) {
                                  return formatted(Summary(collection).json(), OutputFormat::json);
                              }}));
}

ExitStatus runShow(const StoreArguments& arguments) {
    (void)outputFormat(arguments.output); // before anything is looked for
    printResult(presented(selectedCollection(arguments.selection), arguments.output));
    return done;
}

/// Each feature has a line of its own, so that one that is cut off is mended with the last line.
ExitStatus exportPositions(const TimeSpan& span) {
    std::size_t written = 0;
    std::size_t leftOut = 0;
    const auto text = [&](const JSONDictionary& collection) -> std::string {
        const auto position = feature(collection);
        ++(position ? written : leftOut);
        return position ? (written > 1 ? "," : "") + formatted(*position, OutputFormat::json) : "";
    };
    const bool whole =
        printEach(span, {text, "{\"type\":\"FeatureCollection\",\"features\":[\n", "]}\n"});
    if (leftOut > 0) {
        sayNote("left out for want of a position: " + std::to_string(leftOut) +
                (leftOut == 1 ? " collection" : " collections"));
    }
    return statusOf(whole);
}

ExitStatus runExport(const StoreArguments& arguments) {
    if (arguments.exportFormat == "geojson") {
        return exportPositions(arguments.span);
    }
    if (arguments.exportFormat == "csv") {
        return statusOf(printEach(arguments.span, {csvLines, csvHeading()}));
    }
    return statusOf(printEach(arguments.span, {[](const JSONDictionary& collection) {
                                  return formatted(collection, OutputFormat::json);
                              }}));
}

ExitStatus runSave(const StoreArguments& arguments) {
    InputFile file(arguments.file);
    return statusOf(withStore([&](const AmbrelStorage& store) {
        readDictionaries(file, [&](const JSONDictionary& dictionary, std::size_t line) {
            if (!AmbrelStorage::fileName(dictionary)) {
                throwBadLine(file.name(), line,
                             "\"timestamp\" is missing or is no number that a double holds");
            }
            save(store, dictionary);
        });
    }));
}

ExitStatus runDelete(const StoreArguments& arguments) {
    const auto time = selectedTime(arguments.selection);
    if (!time) {
        throwNotSaved(arguments.selection, time);
    }
    return statusOf(withStore([&](const AmbrelStorage& store) {
        std::error_code error; // any but that there is none is the store's to report
        const auto type = std::filesystem::symlink_status(fileOf(*time), error).type();
        if (type == std::filesystem::file_type::not_found) {
            throwNotSaved(arguments.selection, time);
        }
        store.delete_({{"timestamp", *time}});
    }));
}

ExitStatus runPrune(const StoreArguments& arguments) {
    if (arguments.keep.empty()) { // neither on the command line nor in the configuration
        throw CommandError(badInput, "--keep is required (see ambrel store prune --help)");
    }
    return statusOf(prune(arguments.keep, arguments.isRehearsal));
}

ExitStatus runPath(const StoreArguments& /*arguments*/) {
    return statusOf(withStore(
        [](const AmbrelStorage& /*store*/) { printResult(AmbrelStorage::path() + "\n"); }));
}

void addSelection(CLI::App& command, std::string& selection) {
    command.add_option("COLLECTION", selection, "a time, last, last-1, ...")
        ->required()
        ->check(checkSelection);
    command.footer(selectionHelp());
}

} // namespace

void defineStoreCommand(CLI::App& store, ExitStatus& status) {
    store.require_subcommand(1);
    const auto arguments = std::make_shared<StoreArguments>();
    const auto add = [&](const char* name, const char* description, auto operation) {
        CLI::App* command = store.add_subcommand(name, description);
        command->callback([arguments, operation, &status] { status = operation(*arguments); });
        return command;
    };

    CLI::App* command = add("list", "Lists the saved collections, oldest first", runList);
    addTimeSpan(*command, arguments->span);
    addFormatOptions(*command, arguments->output, {"table", "json"});
    addColorOption(*command, arguments->output);
    addColumnsOption(*command, arguments->output, columnNames(Summary::columns()));
    command = add("show", "Prints one saved collection", runShow);
    addSelection(*command, arguments->selection);
    addOutputOptions(*command, arguments->output);
    addOutputOptions(*add("last", "Prints the newest saved collection",
                          [](StoreArguments given) {
                              given.selection = "last";
                              return runShow(given);
                          }),
                     arguments->output);
    command = add("save", "Saves dictionaries, each as soon as it is read", runSave);
    command->add_option("FILE", arguments->file,
                        "one JSON object, or one a line (default: standard input)");
    command->footer("A saved dictionary with the same timestamp is replaced.");
    command = add("delete", "Deletes one saved collection", runDelete);
    addSelection(*command, arguments->selection);
    command = add("export", "Prints the saved collections, oldest first", runExport);
    addTimeSpan(*command, arguments->span);
    command
        ->add_option(
            "--format", arguments->exportFormat,
            "ndjson (the default), csv: a line for each thing seen, or geojson: the positions")
        ->type_name("FORMAT")
        ->check(oneOf({"ndjson", "csv", "geojson"}));
    command = add("prune", "Removes old collections", runPrune);
    command->add_option("--keep", arguments->keep, keptForms)->type_name("AGE|N")->check(checkKept);
    command->add_flag("--dry-run", arguments->isRehearsal, "only say which would go");
    command->footer("An age is by the clock of this machine. The newest collection always stays,\n"
                    "and so does what the store did not make.");
    addDiffCommand(store, status);
    add("path", "Prints the directory of the files", runPath);
}

} // namespace Ambrel
