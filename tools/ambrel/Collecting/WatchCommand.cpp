#include "tools/ambrel/Arguments/Duration.hpp"
#include "tools/ambrel/Arguments/Number.hpp"
#include "tools/ambrel/Collecting/Changes.hpp"
#include "tools/ambrel/Collecting/Collection.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include "AmbrelKit/Platform/PrintableText.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

constexpr double shortestInterval = 10;          // seconds: what a collection takes
constexpr double longestInterval = 366 * 86'400; // seconds
constexpr std::size_t greatestThreshold = 30;    // seconds

/// The one that may be delivered again, and the one that is being collected.
constexpr std::size_t keptRecords = 2;

struct WatchOptions {
    CollectionOptions collection;
    std::optional<double> every;           ///< seconds
    std::optional<std::int64_t> threshold; ///< seconds
    bool changes = false;                  ///< these are printed, in place of the dictionaries
};

std::string checkInterval(const std::string& text) {
    const auto seconds = duration(text);
    return seconds && *seconds >= shortestInterval && *seconds <= longestInterval
               ? ""
               : "\"" + text + "\" is not a time from 10s to 366d, such as 90, 15m or 2h";
}

std::string checkThreshold(const std::string& text) {
    const auto seconds = wholeNumber(text);
    return seconds && *seconds <= greatestThreshold
               ? ""
               : "\"" + text + "\" is not a number of seconds from 0 to 30";
}

/// Whether the filter lets through what it was or what it is.
bool isShown(const Change& change, const Filter& filter) {
    if (change.at("kind") == "network" || change.at("kind") == "address") {
        return true;
    }
    return std::ranges::any_of(std::array{"before", "now"}, [&](const char* part) {
        JSONValue thing = change;
        thing.update(thing.value(part, JSONValue::object()));
        return change.contains(part) && filter.letsThrough(thing);
    });
}

/// The changes to a further collection as they are printed.
std::string changesOf(const Delivery& delivery, Changes& changes, const OutputOptions& options) {
    const OutputFormat format = outputFormat(options);
    const Style style(STDOUT_FILENO, options.color);
    std::string text;
    for (const Change& change : changes.next(delivery.data, delivery.sources)) {
        if (isShown(change, options.filter)) {
            text += format == OutputFormat::table
                        ? line(change, style)
                        : printableJSON(change.dump(format == OutputFormat::pretty ? 2 : -1));
            text += "\n";
        }
    }
    return text;
}

/// Until it is interrupted, or what was to be strict has failed.
ExitStatus watch(const WatchOptions& options) {
    Collection collection(options.collection,
                          std::make_shared<CommandLineHost>(options.collection));
    const auto kit = collection.kit();
    kit->setHistoryLimit(keptRecords);
    if (options.threshold || options.every) {
        constexpr std::int64_t never = 0; // asked for so often, it is meant to be collected
        kit->setAmbrelTimeThreshold(options.threshold.value_or(never));
    }
    // Asked for between its ten seconds and its delivery, a collection would begin in the place of
    // the one that is under way.
    bool due = false;
    std::shared_ptr<Timer> timer;
    if (options.every) {
        timer = RunLoop::current()->scheduledTimer(*options.every, true, [&](Timer&) {
            due = collection.isUnderWay();
            if (!due) {
                kit->startScanning();
            }
        });
    }
    kit->startScanning();
    Changes changes;
    while (true) {
        const auto delivery = collection.next();
        kit->completeScanning(); // the machine may go to sleep from here on
        const ExitStatus status =
            options.changes ? collection.handOver(
                                  delivery, changesOf(delivery, changes, options.collection.output))
                            : collection.handOver(delivery);
        if (options.collection.strict && status != done) {
            return status; // else, what can't be saved may be the next time
        }
        if (std::exchange(due, false)) {
            kit->startScanning();
        }
    }
}

} // namespace

void defineWatchCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<WatchOptions>();
    options->collection.output.marksTime = true;
    options->collection.earlierDetails = ResultFile::Earlier::continued;
    command
        .add_option_function<std::string>(
            "--every", [options](const std::string& text) { options->every = duration(text); },
            "also collect at this interval: 90 (seconds), 15m, 2h, 1d")
        ->type_name("DURATION")
        ->check(checkInterval);
    command
        .add_option_function<std::string>(
            "--threshold",
            [options](const std::string& text) { options->threshold = wholeNumber(text); },
            "reuse a collection this young, 0 to 30 (default 30, with --every 0)")
        ->type_name("SECONDS")
        ->check(checkThreshold);
    command.add_flag("--changes", options->changes,
                     "print what appeared, changed or went, in place of each dictionary");
    addCollectionOptions(command, options->collection);
    command.callback([options, &status] {
        options->collection.awaitsReturn = !options->every;
        if (options->changes && options->collection.output.asksForTable) {
            throw CommandError(badInput, "--columns is for tables, not for --changes");
        }
        status = watch(*options);
    });
}

} // namespace Ambrel
