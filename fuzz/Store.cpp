// A store's folder with entries of any name and content, and every command that reads it: what was
// stored is printed whole and stays, but for what is to be removed. The input has the entries
// between zero bytes, each a letter for its kind (f: file, d: folder, l: link, p: pipe), its name
// and, in further lines, its content; then the columns of the page, and the first of the commands:
// all of them take too long.

#include "fuzz/Properties.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <AmbrelKit/AmbrelStorage.hpp>
#include <CLI/CLI.hpp>
#include <array>
#include <cstdint>
#include <fstream>
#include <map>
#include <sys/stat.h>

using namespace Ambrel;
using AmbrelKit::AmbrelStorage;
using AmbrelKit::JSONDictionary;
using Fuzz::require;

namespace {

namespace fs = std::filesystem;

const fs::path& folder() {
    static const Fuzz::Scratch folder("AMBREL_DOCUMENTS_DIR");
    return folder.path;
}

/// The store is in that part of the folder from here on.
void use(const char* part) { setenv("AMBREL_DOCUMENTS_DIR", (folder() / part).c_str(), 1); }

void make(std::string_view entry) {
    constexpr std::size_t longest = 255;
    const auto end = std::min(entry.find('\n'), entry.size());
    if (end < 2 || end > longest || entry.substr(0, end).find('/') != entry.npos) {
        return;
    }
    const fs::path path = folder() / "one/collections" / entry.substr(1, end - 1);
    const std::string content(entry.substr(std::min(end + 1, entry.size())));
    std::error_code error; // it is there already, or of a name that can't be
    if (entry.front() == 'd') {
        fs::create_directory(path, error);
    } else if (entry.front() == 'l' && content.find('/') == content.npos) {
        fs::create_symlink(content, path, error);
    } else if (entry.front() == 'p') {
        mkfifo(path.c_str(), S_IRUSR | S_IWUSR);
    } else if (!fs::exists(fs::symlink_status(path, error))) {
        std::ofstream(path, std::ios::binary) << content;
    }
}

using Contents = std::map<std::string, std::string>;

Contents contents() {
    Contents all;
    for (const auto& entry : fs::directory_iterator(folder() / "one/collections")) {
        std::string& content = all[entry.path().filename()];
        if (entry.is_symlink() || !entry.is_regular_file()) {
            content = "no file";
            continue;
        }
        std::ifstream file(entry.path(), std::ios::binary);
        content = "file " + std::string(std::istreambuf_iterator<char>(file), {});
    }
    return all;
}

struct Outcome {
    int status = 0;
    std::string output;
};

/// Runs a command, whose arguments have a space between them.
Outcome run(const std::string& arguments) {
    CLI::App app("", "ambrel");
    ExitStatus status = done;
    defineStoreCommand(*app.add_subcommand("store"), status);
    defineReportCommand(*app.add_subcommand("report"), status);
    const Fuzz::Captured output(std::cout);
    const Fuzz::Captured errors(std::cerr);
    try {
        app.parse(arguments);
    } catch (const CommandError& error) {
        say(error.what());
        status = error.status();
    }
    const std::string told = errors.text();
    for (const std::string_view line : Fuzz::split(told, '\n')) {
        require(line.empty() || line.starts_with("ambrel: "), "a problem is one line", line);
    }
    Fuzz::requireHarmless(told);
    require(status == done || status == failed, "the command line is right", told);
    require(status == done || !told.empty(), "a failure is told");
    return {status, output.text()};
}

/// What people read, and what programs do.
constexpr std::array readingCommands{"store list",
                                     "store list --format json",
                                     "store export --since 1d",
                                     "store export --format csv",
                                     "store export --format geojson",
                                     "store show last-1",
                                     "store last --format pretty",
                                     "store last --format table",
                                     "store diff last last-1",
                                     "store prune --keep 1 --dry-run",
                                     "report -o -"};

void checkReading(std::string_view arguments) {
    std::string output = run(std::string(arguments)).output;
    std::erase(output, '\r'); // the ends of lines in CSV
    if (!arguments.starts_with("report")) {
        Fuzz::requireHarmless(output);
    }
}

/// What is exported can be saved elsewhere, and is the same there.
void checkExport() {
    const std::string exported = run("store export").output;
    Fuzz::requireHarmless(exported);
    std::map<std::string, JSONDictionary> named;
    std::string saved;
    for (const std::string_view line : Fuzz::split(exported, '\n')) {
        if (line.empty()) {
            continue;
        }
        auto dictionary = Fuzz::dictionaryOf(line);
        require(dictionary.has_value(), "each line is a dictionary", line);
        const auto name = AmbrelStorage::fileName(*dictionary);
        if (name && *name != "-0.0" && *name != "0.0") { // who asks for one may get the other
            saved += std::string(line) + "\n";
            named[*name] = std::move(*dictionary);
        }
    }
    use("other");
    std::ofstream(folder() / "exported", std::ios::binary) << saved;
    require(run("store save " + (folder() / "exported").string()).status == done, "it is saved");
    for (const auto& [name, dictionary] : named) {
        const Outcome again = run("store show " + name);
        require(Fuzz::dictionaryOf(again.output) == dictionary, "it is the same", again.output);
    }
    use("one");
}

/// Whether the file's name is that of what it holds.
bool isCollection(const std::string& name, std::string_view content) {
    constexpr std::string_view mark = "file ";
    const auto dictionary =
        content.starts_with(mark) ? Fuzz::dictionaryOf(content.substr(mark.size())) : std::nullopt;
    return dictionary && AmbrelStorage::fileName(*dictionary) == name;
}

/// All but what was removed is there; the newest is.
void checkRemoving(const std::string& arguments, std::size_t most, bool keepsNewest) {
    const Contents before = contents();
    const Outcome newest = run("store last");
    run(arguments);
    const Contents after = contents();
    std::size_t gone = 0;
    for (const auto& [name, content] : before) {
        const auto found = after.find(name);
        require(found == after.end() || found->second == content, "what stays is whole", name);
        if (found == after.end()) {
            ++gone;
            require(!keepsNewest || isCollection(name, content), "only collections go", name);
        }
    }
    require(gone <= most && after.size() + gone == before.size(), "no more goes");
    if (keepsNewest && newest.status == done) {
        require(run("store last").output == newest.output, "the newest stays");
    }
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text = Fuzz::textOf(data, size);
    unsigned first = Fuzz::takeLast(text);
    setenv("COLUMNS", std::to_string(Fuzz::takeLast(text)).c_str(), 1);
    fs::remove_all(folder());
    fs::create_directories(folder() / "one/collections");
    use("one");
    for (const std::string_view entry : Fuzz::split(text, '\0')) {
        make(entry);
    }
    const Contents before = contents();
    for (unsigned i = 0; i < 3; ++i, ++first) {
        const unsigned command = first % (readingCommands.size() + 1);
        command < readingCommands.size() ? checkReading(readingCommands.at(command))
                                         : checkExport();
    }
    require(contents() == before, "reading changes nothing");
    if (first % 2 == 0) {
        checkRemoving("store prune --keep 2", before.size(), true);
    } else {
        checkRemoving("store delete last", 1, false);
    }
    return 0;
}
