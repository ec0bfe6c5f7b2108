#include "tools/ambrel/Collection.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/InterruptSignals.hpp"
#include "tools/ambrel/Output.hpp"
#include "tools/ambrel/Store.hpp"

#include "AmbrelKit/Platform/RunLoop.hpp"

#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

constexpr int shortestInterval = 1;         // seconds
constexpr int longestInterval = 31'622'400; // seconds: a year

/// The one that may be delivered again, and the one that is being collected.
constexpr std::size_t keptRecords = 2;

struct WatchOptions {
    CollectionOptions collection;
    std::optional<double> every; ///< seconds
};

std::string checkInterval(const std::string& text) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && seconds >= shortestInterval && seconds <= longestInterval
               ? ""
               : "\"" + text + "\" is not a number of seconds from 1 to " +
                     std::to_string(longestInterval);
}

ExitStatus watch(const WatchOptions& options) {
    const OutputFormat format = options.collection.format.empty()
                                    ? OutputFormat::json
                                    : outputFormat(options.collection.format);
    Collection collection(options.collection, std::make_shared<Host>(options.collection));
    const auto kit = collection.kit();
    kit->setHistoryLimit(keptRecords);
    // Asked for between its ten seconds and its delivery, a collection would begin in the place of
    // the one that is under way.
    bool due = false;
    std::shared_ptr<Timer> timer;
    if (options.every) {
        if (!options.collection.threshold) {
            kit->setAmbrelTimeThreshold(0); // asked for so often, it is meant to be collected
        }
        timer = RunLoop::current()->scheduledTimer(*options.every, true, [&](Timer&) {
            due = collection.isUnderWay();
            if (!due) {
                kit->startScanning();
            }
        });
    }
    exitOnInterrupt(interrupted);
    kit->startScanning();
    while (const auto data = collection.next()) {
        kit->completeScanning(); // the machine may go to sleep from here on
        if (options.collection.save) {
            saveCollection(*data); // what fails is told, and may work the next time
        }
        printResult(formatted(*data, format));
        if (std::exchange(due, false)) {
            kit->startScanning();
        }
    }
    return interrupted;
}

} // namespace

void addWatchCommand(CLI::App& app, ExitStatus& status) {
    CLI::App* command = app.add_subcommand(
        "watch", "Takes one now, and when device or user come back, until interrupted");
    const auto options = std::make_shared<WatchOptions>();
    command
        ->add_option("--every", options->every,
                     "collect at this interval too (--threshold is 0 then)")
        ->type_name("SECONDS")
        ->check(checkInterval);
    addCollectionOptions(*command, options->collection, "json (on one line)");
    command->callback([options, &status] { status = watch(*options); });
}

} // namespace Ambrel
