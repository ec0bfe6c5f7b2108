#include "tools/ambrel/Collection.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/ScriptRecorder.hpp"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

struct RecordArguments {
    std::string file;
    CollectionOptions options;
};

/// The file that is to hold the script, for its user's eyes only. An earlier file of that name
/// stays until the script is whole. What is no regular file, such as a pipe, is written to as it
/// is.
class ScriptFile {
public:
    explicit ScriptFile(std::string name) : name_(std::move(name)), written_(name_) {
        std::error_code error;
        const auto status = std::filesystem::status(name_, error);
        if (!std::filesystem::exists(status) || std::filesystem::is_regular_file(status)) {
            written_ += ".part";
        }
        constexpr mode_t mode = S_IRUSR | S_IWUSR;
        const int descriptor =
            open(written_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
        stream_ = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
        if (stream_ == nullptr) {
            fail();
        }
    }
    ScriptFile(const ScriptFile&) = delete;
    ScriptFile& operator=(const ScriptFile&) = delete;
    ~ScriptFile() {
        if (stream_ != nullptr) {
            std::fclose(stream_);
        }
        if (written_ != name_) {
            std::remove(written_.c_str());
        }
    }

    /// What can't be written is told by `finish`.
    void write(const std::string& line) { std::fputs((line + "\n").c_str(), stream_); }

    void finish() {
        const bool whole = std::ferror(stream_) == 0;
        const bool closed = std::fclose(std::exchange(stream_, nullptr)) == 0;
        if (!whole || !closed ||
            (written_ != name_ && std::rename(written_.c_str(), name_.c_str()) != 0)) {
            fail();
        }
        written_ = name_;
    }

private:
    [[noreturn]] void fail() const {
        throw CommandError(failed, name_ + ": " + std::generic_category().message(errno));
    }

    std::string name_;
    std::string written_; ///< in the place of `name_`, or that itself
    std::FILE* stream_ = nullptr;
};

ExitStatus record(const RecordArguments& arguments) {
    const CollectionOptions& options = arguments.options;
    if (arguments.file == "-") {
        throw CommandError(badInput, "the script needs a file: the dictionary is what is printed");
    }
    ScriptFile script(arguments.file);
    const auto host = std::make_shared<Host>(options);
    const auto recorder = std::make_shared<ScriptRecorder>(
        serviceTypes(options), host, [&](const std::string& line) { script.write(line); });
    Collection collection(options, host, recorder);
    recorder->hostCalls("startScanningOnce");
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
