#include "tools/ambrel/Store/PrintEach.hpp"

#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Process/InterruptSignals.hpp"
#include "tools/ambrel/Store/Store.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Ambrel {

namespace {

using AmbrelKit::AmbrelStorage;
using AmbrelKit::JSONDictionary;

constexpr std::size_t pieceSize = 1U << 16U; // bytes

/// Where nobody has to read for a writer to go on.
bool goesToFile() {
    struct stat status {};
    return fstat(STDOUT_FILENO, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

bool forEachStored(const TimeSpan& span, const AmbrelStorage::Visitor& take) {
    return withStore([&](const AmbrelStorage& store) { forEachStored(store, span, take); });
}

bool printEach(const TimeSpan& span, const Listing& listing) {
    std::optional<InterruptSignals> signals;
    if (!listing.ending.empty() && goesToFile()) {
        signals.emplace();
    }
    std::string piece = listing.heading;
    const auto print = [&](const JSONDictionary& collection) {
        piece += listing.text(collection);
        if (piece.size() >= pieceSize) {
            printResult(std::exchange(piece, {}));
        }
        if (const auto signal = signals ? signals->take() : std::nullopt) {
            throw EndBySignal(*signal);
        }
    };
    try {
        const bool whole = forEachStored(span, print);
        printResult(piece + listing.ending);
        return whole;
    } catch (const EndBySignal&) {
        printResult(piece + listing.ending);
        throw;
    }
}

} // namespace Ambrel
