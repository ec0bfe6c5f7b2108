#include "tools/ambrel/Collection.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Output.hpp"
#include "tools/ambrel/ScriptRecorder.hpp"
#include "tools/ambrel/Store.hpp"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

struct RecordArguments {
    std::string file;
    CollectionOptions options;
};

[[noreturn]] void failToWrite(const std::string& file) {
    throw CommandError(failed, file + ": " + std::generic_category().message(errno));
}

ExitStatus record(const RecordArguments& arguments) {
    const CollectionOptions& options = arguments.options;
    const OutputFormat format = outputFormat(options.format);
    if (arguments.file == "-") {
        throw CommandError(badInput, "the script needs a file: the dictionary is what is printed");
    }
    errno = 0;
    std::ofstream script(arguments.file, std::ios::binary);
    if (!script) {
        failToWrite(arguments.file);
    }
    const auto host = std::make_shared<Host>(options);
    const auto recorder = std::make_shared<ScriptRecorder>(
        serviceTypes(options), host, [&](const std::string& line) { script << line << '\n'; });
    Collection collection(options, host, recorder);
    if (options.threshold) {
        recorder->hostCalls({{"setAmbrelTimeThreshold", *options.threshold}});
    }
    recorder->hostCalls("startScanningOnce");
    collection.kit()->startScanningOnce();
    const auto data = collection.next();
    recorder->end();
    script.close();
    if (!script) {
        failToWrite(arguments.file);
    }
    if (!data) {
        return interrupted;
    }
    const bool kept = !options.save || saveCollection(*data);
    printResult(formatted(*data, format));
    return kept ? done : failed;
}

} // namespace

void addRecordCommand(CLI::App& app, ExitStatus& status) {
    CLI::App* command = app.add_subcommand(
        "record", "Takes one, and writes what the platform reported as a script");
    const auto arguments = std::make_shared<RecordArguments>();
    command->add_option("FILE", arguments->file, "the script to be written")->required();
    addCollectionOptions(*command, arguments->options);
    command->callback([arguments, &status] { status = record(*arguments); });
}

} // namespace Ambrel
