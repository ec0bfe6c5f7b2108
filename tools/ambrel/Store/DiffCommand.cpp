#include "tools/ambrel/Store/DiffCommand.hpp"

#include "tools/ambrel/Arguments/Choices.hpp"
#include "tools/ambrel/Store/DictionaryReader.hpp"
#include "tools/ambrel/Store/Selection.hpp"
#include "tools/ambrel/Terminal/Output.hpp"
#include "tools/ambrel/Terminal/OutputOptions.hpp"
#include "tools/ambrel/Terminal/Terminal.hpp"

#include <AmbrelKit/Difference.hpp>
#include <AmbrelKit/Platform/PrintableText.hpp>
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>

namespace Ambrel {

namespace {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

struct DiffArguments {
    std::string before;
    std::string after;
    OutputOptions output;
};

JSONDictionary onlyDictionary(InputFile file) {
    std::optional<JSONDictionary> only;
    readDictionaries(file, [&](const JSONDictionary& dictionary, std::size_t line) {
        if (only) {
            throwBadLine(file.name(), line, "this is a second dictionary");
        }
        only = dictionary;
    });
    if (!only) {
        throw CommandError(badInput, file.name() + ": this is no dictionary");
    }
    return std::move(*only);
}

/// The dictionary that an argument names.
JSONDictionary named(const std::string& text) {
    if (text.find('/') == std::string::npos && checkSelection(text).empty()) {
        return selectedCollection(text);
    }
    return onlyDictionary(InputFile(text));
}

/// The lines of a difference, each in the colour of the value of which it is.
std::string colored(const std::string& text, const Style& style) {
    std::string lines;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);) {
        const auto meaning = line[0] == '-'   ? Meaning::bad
                             : line[0] == '+' ? Meaning::good
                             : line[0] == '~' ? Meaning::caution
                                              : Meaning::plain;
        lines += style(meaning, line) + "\n";
    }
    return lines;
}

void run(const DiffArguments& arguments) {
    if (arguments.before == "-" && arguments.after == "-") {
        throw CommandError(badInput, "only one of the two can be standard input");
    }
    const JSONDictionary before = named(arguments.before);
    const JSONDictionary after = named(arguments.after);
    const OutputOptions& output = arguments.output;
    printResult(output.format == "json-patch"
                    ? AmbrelKit::printableJSON(JSONValue::diff(before, after).dump()) + "\n"
                    : colored(AmbrelKit::difference(before, after),
                              page(STDOUT_FILENO, output.color).style));
}

} // namespace

void addDiffCommand(CLI::App& store, ExitStatus& status) {
    CLI::App* command = store.add_subcommand("diff", "Prints what differs between two collections");
    const auto arguments = std::make_shared<DiffArguments>();
    command->add_option("BEFORE", arguments->before, "a saved collection, a file, or -")
        ->required();
    command->add_option("AFTER", arguments->after, "likewise")->required();
    command
        ->add_option("--format", arguments->output.format,
                     "text (the default), or json-patch (RFC 6902), which makes AFTER of BEFORE")
        ->type_name("FORMAT")
        ->check(oneOf({"text", "json-patch"}));
    addColorOption(*command, arguments->output);
    command->footer(selectionHelp() + "\nWhatever has a slash, or is nothing of these, is a file.");
    command->callback([arguments, &status] {
        run(*arguments);
        status = done;
    });
}

} // namespace Ambrel
