#include "tools/ambrel/Collecting/Collection.hpp"
#include "tools/ambrel/Commands.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace Ambrel {

namespace {

ExitStatus scan(const CollectionOptions& options) {
    Collection collection(options, std::make_shared<CommandLineHost>(options));
    collection.kit()->startScanningOnce();
    return collection.handOver(collection.next());
}

} // namespace

void defineScanCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<CollectionOptions>();
    addCollectionOptions(command, *options);
    command.callback([options, &status] { status = scan(*options); });
}

} // namespace Ambrel
