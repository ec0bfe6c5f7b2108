#include "tools/ambrel/Arguments/Configuration.hpp"

#include "tools/ambrel/Arguments/Command.hpp"
#include "tools/ambrel/Arguments/ConfigurationFile.hpp"
#include "tools/ambrel/Arguments/TOML.hpp"
#include "tools/ambrel/Arguments/UsageProblem.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Terminal/Output.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include "AmbrelKit/Platform/PrintableText.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel {

namespace {

bool isConfigurable(const CLI::Option& option) {
    return option.get_configurable() && !option.get_lnames().empty();
}

/// The option that a setting is for, and its command; a table has no option.
std::pair<CLI::App*, CLI::Option*> placeOf(CLI::App& program, const Configuration& configuration,
                                           const Setting& setting) {
    try {
        CLI::App* command = &program;
        const bool isTable = setting.kind == Setting::Kind::table;
        for (std::size_t i = 0; i + (isTable ? 0 : 1) < setting.path.size(); ++i) {
            command = &commandNamed(*command, setting.path[i]);
        }
        if (isTable) {
            return {command, nullptr};
        }
        const std::string& name = setting.path.back();
        for (CLI::Option* option : command->get_options()) {
            const auto& names = option->get_lnames();
            if (std::ranges::find(names, name) == names.end()) {
                continue;
            }
            if (!isConfigurable(*option)) {
                throw CommandError(badInput, "--" + name + " stands on the command line alone");
            }
            return {command, option};
        }
        throw CommandError(badInput, unexpected(name, *command));
    } catch (const CommandError& error) {
        throwWrong(configuration, setting.line, error.what());
    }
}

bool isFlag(const CLI::Option& option) { return option.get_expected_max() == 0; }

bool isList(const CLI::Option& option) { return option.get_expected_max() > 1; }

/// As if it stood on the command line.
void give(CLI::Option& option, const Configuration& configuration, const Setting& setting) {
    const std::string name = setting.path.back();
    const bool fits = isFlag(option)   ? setting.kind == Setting::Kind::flag
                      : isList(option) ? setting.kind != Setting::Kind::flag
                                       : setting.kind == Setting::Kind::text;
    if (!fits) {
        throwWrong(configuration, setting.line,
                   name + (isFlag(option)   ? " is true or false"
                           : isList(option) ? " is a list of texts"
                                            : " is one text or number"));
    }
    if (setting.values.empty() || (isFlag(option) && setting.values.front() == "false")) {
        return;
    }
    try {
        option.clear();
        for (const std::string& value : setting.values) {
            option.add_result(value);
        }
        option.run_callback();
    } catch (const CLI::ParseError& error) {
        std::string problem = error.what();
        const std::string option = "--" + name;
        problem.erase(0, problem.starts_with(option) ? 2 : 0);
        throwWrong(configuration, setting.line, problem);
    }
}

/// What an option decides: --json and --pretty are short for a --format.
std::string subjectOf(const CLI::Option& option) {
    const std::string& name = option.get_lnames().front();
    return name == "json" || name == "pretty" ? "format" : name;
}

/// Gives the command that is to run what its command line leaves open.
void apply(CLI::App& program, const Configuration& configuration) {
    CLI::App* command = &program;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
    }
    std::set<std::string> given;
    for (const CLI::Option* option : command->get_options()) {
        if (option->count() > 0 && isConfigurable(*option)) {
            given.insert(subjectOf(*option));
        }
    }
    if (given.contains("only")) { // which names all that is wanted
        given.insert("without");
    }
    std::set<std::vector<std::string>> known;
    for (const Setting& setting : configuration.settings) {
        const auto [owner, option] = placeOf(program, configuration, setting);
        if (option == nullptr) {
            continue;
        }
        if (!known.insert(setting.path).second) {
            throwWrong(configuration, setting.line, setting.path.back() + " stands there twice");
        }
        if (owner == command && !given.contains(subjectOf(*option))) {
            give(*option, configuration, setting);
        }
    }
    const CLI::Option* quiet = command->get_option_no_throw("--quiet");
    if (!configuration.refusal.empty() && (quiet == nullptr || quiet->count() == 0)) {
        sayNote(configuration.refusal);
    }
}

std::string valueOf(const Setting& setting) {
    if (setting.kind == Setting::Kind::flag) {
        return setting.values.front();
    }
    std::string text;
    for (const std::string& value : setting.values) {
        text += (text.empty() ? "" : ", ") + quotedForTOML(value);
    }
    return setting.kind == Setting::Kind::list ? "[" + text + "]" : text;
}

/// What an option has without the file.
std::string templateOf(const CLI::Option& option) {
    const std::string type = "\"" + option.get_type_name() + "\"";
    return isFlag(option) ? "false" : isList(option) ? "[" + type + "]" : type;
}

std::string printed(CLI::App& program, CLI::App& command, const std::string& path,
                    const Configuration& configuration) {
    std::string table;
    for (CLI::Option* option : defined(command).get_options()) {
        if (!isConfigurable(*option)) {
            continue;
        }
        constexpr std::size_t width = 76;
        for (const std::string& line : lines({option->get_description()}, " ", width)) {
            table += "# " + line + "\n";
        }
        const auto setting = std::ranges::find_if(configuration.settings, [&](const auto& each) {
            return placeOf(program, configuration, each).second == option;
        });
        const bool isSet = setting != configuration.settings.end();
        table += (isSet ? "" : "#") + option->get_lnames().front() + " = " +
                 (isSet ? valueOf(*setting) : templateOf(*option)) + "\n";
    }
    std::string text = table.empty() ? "" : "\n[" + path + "]\n" + table;
    for (CLI::App* one : commandsOf(command)) {
        text += printed(program, *one, (path.empty() ? "" : path + ".") + one->get_name(),
                        configuration);
    }
    return text;
}

std::string print(CLI::App& program, const Configuration& configuration) {
    for (const Setting& setting : configuration.settings) {
        if (CLI::Option* option = placeOf(program, configuration, setting).second) {
            give(*option, configuration, setting);
        }
    }
    if (!configuration.refusal.empty()) {
        sayNote(configuration.refusal);
    }
    const std::string& file = configuration.file;
    return "# What holds where the command line says nothing else. What is set is from\n# " +
           (file.empty() ? "no file" : AmbrelKit::printable(file)) +
           ";\n# behind # stands what is not set, with what is to be put in capitals.\n" +
           printed(program, program, "", configuration);
}

} // namespace

void addConfiguration(CLI::App& program) {
    const auto file = std::make_shared<std::string>();
    program.add_option("--config", *file, "take what options leave open from this file")
        ->type_name("FILE")
        ->check([](const std::string& name) { return name.empty() ? "FILE missing" : ""; })
        ->configurable(false);
    program
        .add_flag_callback(
            "--print-config",
            [&program, file] {
                printResult(print(program, readConfiguration(*file)));
                throw CLI::Success();
            },
            "print what holds for every option")
        ->configurable(false);
    program.parse_complete_callback([&program, file] {
        if (!program.got_subcommand("help")) { // which may tell what is wrong with the file
            apply(program, readConfiguration(*file));
        }
    });
}

} // namespace Ambrel
