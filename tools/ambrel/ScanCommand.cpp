#include "tools/ambrel/Collection.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Output.hpp"
#include "tools/ambrel/Store.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace Ambrel {

namespace {

ExitStatus scan(const CollectionOptions& options) {
    const OutputFormat format = outputFormat(options.format);
    Collection collection(options, std::make_shared<Host>(options));
    collection.kit()->startScanningOnce();
    const auto data = collection.next();
    if (!data) {
        return interrupted;
    }
    const bool kept = !options.save || saveCollection(*data);
    printResult(formatted(*data, format));
    return kept ? done : failed;
}

} // namespace

void addScanCommand(CLI::App& app, ExitStatus& status) {
    CLI::App* command =
        app.add_subcommand("scan", "Takes one snapshot, which lasts ten seconds, and prints it");
    const auto options = std::make_shared<CollectionOptions>();
    addCollectionOptions(*command, *options);
    command->callback([options, &status] { status = scan(*options); });
}

} // namespace Ambrel
