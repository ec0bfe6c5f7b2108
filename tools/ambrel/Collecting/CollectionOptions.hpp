#ifndef AMBREL_COLLECTIONOPTIONS_HPP
#define AMBREL_COLLECTIONOPTIONS_HPP

#include "AmbrelKit/Linux/Location/LocationOptions.hpp"
#include "AmbrelKit/Linux/NearbyDevices/MDNSStack.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include "tools/ambrel/Collecting/ResultFile.hpp"
#include "tools/ambrel/Terminal/OutputOptions.hpp"

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Ambrel {

/// What the command line says of a collection.
struct CollectionOptions {
    std::vector<std::string> services; ///< empty: the information dictionary's, or the common ones
    std::vector<std::string> only;     ///< empty: every permission
    std::vector<std::string> without;
    AmbrelKit::Linux::LocationSourceKind location = AmbrelKit::Linux::LocationSourceKind::automatic;
    AmbrelKit::Linux::MDNSStack mdns = AmbrelKit::Linux::MDNSStack::automatic;
    OutputOptions output;
    std::string script;  ///< the file that replays it; empty: none
    std::string details; ///< the file for every report; empty: none
    ResultFile::Earlier earlierDetails = ResultFile::Earlier::replaced;
    bool save = false;     ///< each dictionary into the store too
    std::string outcome;   ///< the file that tells of each source; empty: none
    bool strict = false;   ///< a source that could not listen is a failure
    bool progress = false; ///< also where it would meet another program's output
    bool quiet = false;
    bool awaitsReturn = false; ///< nothing but the lifecycle will make it collect again
};

/// Adds the options of a collection to a command; parsing checks them and fills `options`, which
/// has to live as long.
void addCollectionOptions(CLI::App& command, CollectionOptions& options);

/// Adds of them those that say what is to be seen.
void addSourceOptions(CLI::App& command, CollectionOptions& options);

/// Adds the choice of where a fix may come from.
void addLocationOption(CLI::App& command, AmbrelKit::Linux::LocationSourceKind& location);

/// Adds the choice of by whose mDNS services are found.
void addMDNSOption(CLI::App& command, AmbrelKit::Linux::MDNSStack& mdns);

/// The tool's own use of the location.
AmbrelKit::Linux::LocationOptions locationOptions(AmbrelKit::Linux::LocationSourceKind location);

/// Whether this host grants the permission: "bluetooth", "location" or "network".
bool isGranted(const CollectionOptions& options, const std::string& permission);

/// Whether a collection is to have what the source reports.
bool isWanted(const CollectionOptions& options, AmbrelKit::Source source);

} // namespace Ambrel

#endif
