#include "tools/ambrel/Terminal/OutputOptions.hpp"

#include "tools/ambrel/Arguments/Choices.hpp"
#include "tools/ambrel/Arguments/ServiceTypes.hpp"
#include "tools/ambrel/Terminal/CollectionTables.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <utility>

namespace Ambrel {

namespace {

/// No service has a subtype in its record.
std::string checkType(const std::string& text) {
    return isServiceType(text) && text.find("._sub.") == text.npos
               ? ""
               : "\"" + text + "\" is not a service type, such as _ipp._tcp";
}

} // namespace

void addFormatOptions(CLI::App& command, OutputOptions& options,
                      const std::vector<std::string>& formats) {
    command.add_option("--format", options.format, CLI::detail::join(formats, ", "))
        ->type_name("FORMAT")
        ->check(oneOf(formats));
    command.add_flag("--json", options.json, "short for --format json");
    if (std::find(formats.begin(), formats.end(), "pretty") != formats.end()) {
        command.add_flag("--pretty", options.pretty, "short for --format pretty");
    }
}

void addColorOption(CLI::App& command, OutputOptions& options) {
    static const std::map<std::string, ColorChoice> choices{{"auto", ColorChoice::automatic},
                                                            {"always", ColorChoice::always},
                                                            {"never", ColorChoice::never}};
    command
        .add_option_function<std::string>(
            "--color", [&options](const std::string& text) { options.color = choices.at(text); },
            "auto (default), always or never")
        ->type_name("WHEN")
        ->check(oneOf({"auto", "always", "never"}));
}

void addColumnsOption(CLI::App& command, OutputOptions& options,
                      const std::vector<std::string>& names) {
    addListOption(command, "--columns", options.columns, "print tables with these columns alone",
                  names);
    // Before the configuration is applied, which may name columns for whenever there is a table.
    command.parse_complete_callback(
        [&options] { options.asksForTable = !options.columns.empty(); });
}

void addOutputOptions(CLI::App& command, OutputOptions& options) {
    addFormatOptions(command, options, {"json", "pretty", "table"});
    addColorOption(command, options);
    addColumnsOption(command, options, collectionColumns());
    command
        .add_option_function<std::vector<std::string>>(
            "--type", [&options](const auto& types) { options.filter.setTypes(types); },
            "print services of this type; again for more")
        ->type_name("TYPE")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->check(checkType);
    command
        .add_option_function<std::vector<std::string>>(
            "--name", [&options](const auto& names) { options.filter.setNames(names); },
            "print what has this in its name; again for more")
        ->type_name("PART")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

} // namespace Ambrel
