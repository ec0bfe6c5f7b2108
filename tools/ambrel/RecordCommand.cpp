#include "AmbrelKit/Internal/Extensions/ReplaceFile.hpp"
#include "tools/ambrel/Collection.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/HeldSignals.hpp"
#include "tools/ambrel/ScriptRecorder.hpp"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

struct RecordArguments {
    std::string file;
    CollectionOptions options;
};

/// The file that is to hold the script, for its user's eyes only. An earlier file of that name
/// stays until the script is whole. What is there and is no regular file, such as a pipe, is
/// written to as it is.
class ScriptFile {
public:
    /// Throws when the file can't be made, or what is there can't be written to. Waits for the
    /// reader of a pipe.
    explicit ScriptFile(const std::string& name) : name_(name) {
        const std::filesystem::path path = name;
        std::error_code error;
        const auto status = std::filesystem::status(path, error);
        if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
            errno = 0;
            other_.open(path);
            check();
        } else if (path.has_filename()) {
            held_.emplace();
            file_.emplace(path.has_parent_path() ? path.parent_path().string() : ".", name);
        } else {
            throw CommandError(badInput, "\"" + name + "\" is no name for a file");
        }
    }

    void write(const std::string& line) { text_ += line + "\n"; }

    void finish() {
        if (file_) {
            file_->write(text_);
            file_->finish();
            held_.reset();
        } else {
            errno = 0;
            other_ << text_ << std::flush;
            check();
        }
    }

private:
    void check() const {
        if (!other_) {
            throw std::system_error(errno, std::generic_category(), name_);
        }
    }

    std::string name_;
    std::string text_;                ///< ten seconds of it
    std::optional<HeldSignals> held_; ///< while there is a file that is not whole
    std::optional<AmbrelKit::NewFile> file_;
    std::ofstream other_;
};

ExitStatus record(const RecordArguments& arguments) {
    const CollectionOptions& options = arguments.options;
    if (arguments.file == "-") {
        throw CommandError(badInput, "the script needs a file: the dictionary is what is printed");
    }
    ScriptFile script(arguments.file);
    const auto host = std::make_shared<CommandLineHost>(options);
    const auto recorder = std::make_shared<ScriptRecorder>(
        serviceTypes(options), host, [&](const std::string& line) { script.write(line); });
    Collection collection(options, host, recorder);
    recorder->hostCalls({.operation = Simulated::HostCall::Operation::startScanningOnce});
    collection.kit()->startScanningOnce();
    const auto data = collection.next();
    recorder->end();
    script.finish();
    return handOver(data, options);
}

} // namespace

void addRecordCommand(CLI::App& app, ExitStatus& status) {
    CLI::App* command =
        app.add_subcommand("record", "Takes one, and writes a script that replays it");
    const auto arguments = std::make_shared<RecordArguments>();
    command->add_option("FILE", arguments->file, "the script to be written")->required();
    addCollectionOptions(*command, arguments->options);
    command->callback([arguments, &status] { status = record(*arguments); });
}

} // namespace Ambrel
