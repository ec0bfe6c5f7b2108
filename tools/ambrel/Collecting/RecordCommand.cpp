#include "tools/ambrel/Collecting/Collection.hpp"
#include "tools/ambrel/Collecting/ResultFile.hpp"
#include "tools/ambrel/Collecting/ScriptRecorder.hpp"
#include "tools/ambrel/Commands.hpp"

#include "AmbrelKit/Platform/PrintableText.hpp"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

ExitStatus record(const CollectionOptions& options) {
    ResultFile script(options.script);
    const auto host = std::make_shared<CommandLineHost>(options);
    const auto recorder = std::make_shared<ScriptRecorder>(serviceTypes(options), host);
    Collection collection(options, host, recorder);
    recorder->hostCalls({.operation = Simulated::HostCall::Operation::startScanningOnce});
    collection.kit()->startScanningOnce();
    const auto delivery = collection.next();
    script.write(recorder->end());
    for (const SourceReport& report : delivery.sources) { // behind the end, nothing is replayed
        script.write("# " + std::string(code(report.source)) + " " +
                     printableJSON(JSONValue(dictionary(report)).dump()));
    }
    script.finish();
    return collection.handOver(delivery);
}

} // namespace

void defineRecordCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<CollectionOptions>();
    command.add_option("FILE", options->script, "the script to be written")->required();
    addCollectionOptions(command, *options);
    command.callback([options, &status] { status = record(*options); });
}

} // namespace Ambrel
