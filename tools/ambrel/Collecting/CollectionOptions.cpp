#include "tools/ambrel/Collecting/CollectionOptions.hpp"

#include "tools/ambrel/Arguments/Choices.hpp"
#include "tools/ambrel/Arguments/ServiceTypes.hpp"

#include "AmbrelKit/Linux/NearbyDevices/AnnouncedServiceTypes.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <string>

namespace Ambrel {

using AmbrelKit::Source;
using AmbrelKit::Linux::LocationSourceKind;
using AmbrelKit::Linux::MDNSStack;

namespace {

std::string checkServiceType(const std::string& text) {
    return text == AmbrelKit::Linux::allServiceTypes || isServiceType(text)
               ? ""
               : "\"" + text + "\" is not a service type, such as _ipp._tcp, nor all";
}

/// An option in its place tells that it was forgotten, or is empty in the script that runs this.
std::string checkFile(const std::string& name) {
    return name.empty() || name.starts_with("--") ? "FILE missing" : "";
}

const std::map<std::string, LocationSourceKind>& locationSources() {
    static const std::map<std::string, LocationSourceKind> sources{
        {"auto", LocationSourceKind::automatic},
        {"geoclue", LocationSourceKind::geoClue},
        {"gpsd", LocationSourceKind::gpsd},
        {"none", LocationSourceKind::none}};
    return sources;
}

const std::map<std::string, MDNSStack>& mdnsStacks() {
    static const std::map<std::string, MDNSStack> stacks{{"auto", MDNSStack::automatic},
                                                         {"daemon", MDNSStack::daemon},
                                                         {"embedded", MDNSStack::embedded}};
    return stacks;
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

void addSourceOptions(CLI::App& command, CollectionOptions& options) {
    command
        .add_option("--service", options.services,
                    "look for this DNS-SD type, or all; again for more")
        ->type_name("TYPE")
        ->allow_extra_args(false)
        ->check(checkServiceType);
    addMDNSOption(command, options.mdns);
    const std::vector<std::string> permissions{"bluetooth", "location", "network"};
    addListOption(command, "--only", options.only, "grant only these of bluetooth,location,network",
                  permissions);
    addListOption(command, "--without", options.without,
                  "refuse these of bluetooth,location,network", permissions);
    addLocationOption(command, options.location);
}

void addCollectionOptions(CLI::App& command, CollectionOptions& options) {
    addSourceOptions(command, options);
    command.add_flag("--save", options.save, "save what is delivered too: see ambrel store");
    command
        .add_option("--outcome", options.outcome, "write how each source fared, as one JSON object")
        ->type_name("FILE")
        ->check(checkFile);
    command.add_flag("--strict", options.strict,
                     "exit status 3 when a granted source could not listen");
    command
        .add_option("--details", options.details,
                    "write every report too, with what the result omits")
        ->type_name("FILE")
        ->check(checkFile);
    addOutputOptions(command, options.output);
    command.add_flag("--progress", options.progress,
                     "show the progress though the output is a pipe");
    command.add_flag("--quiet", options.quiet, "no progress, no notes");
    command.footer(
        "Without --service, the types are those that \"NSBonjourServices\" of the information "
        "dictionary lists ($AMBREL_INFO, else Info.json beside the program), else common ones.\n"
        "Without --format, the result is a table in a terminal, or with --columns, else json (on "
        "one line).\n"
        "--columns, --type and --name choose what is printed, not what is collected.\n"
        "The address and the joined Wi-Fi are part of every collection.\n"
        "A note on standard error names each granted source that could not listen.");
}

void addLocationOption(CLI::App& command, LocationSourceKind& location) {
    command
        .add_option_function<std::string>(
            "--location",
            [&location](const std::string& text) { location = locationSources().at(text); },
            "where a fix is from: auto (default), geoclue, gpsd, none")
        ->type_name("SOURCE")
        ->check(oneOf({"auto", "geoclue", "gpsd", "none"}));
}

void addMDNSOption(CLI::App& command, MDNSStack& mdns) {
    command
        .add_option_function<std::string>(
            "--mdns", [&mdns](const std::string& text) { mdns = mdnsStacks().at(text); },
            "by whose mDNS services are found: auto (default), daemon, embedded")
        ->type_name("STACK")
        ->check(oneOf({"auto", "daemon", "embedded"}));
}

AmbrelKit::Linux::LocationOptions locationOptions(LocationSourceKind location) {
    return {.source = location, .desktopId = "org.ambrelkit.ambrel"};
}

bool isGranted(const CollectionOptions& options, const std::string& permission) {
    return (options.only.empty() || contains(options.only, permission)) &&
           !contains(options.without, permission);
}

bool isWanted(const CollectionOptions& options, Source source) {
    switch (source) {
    case Source::bluetooth:
        return isGranted(options, "bluetooth");
    case Source::location:
        return isGranted(options, "location") && options.location != LocationSourceKind::none;
    case Source::lifecycle:
        return options.awaitsReturn;
    case Source::services:
    case Source::address:
    case Source::wifi:
        break;
    }
    return isGranted(options, "network");
}

} // namespace Ambrel
