#include "tools/ambrel/Collection.hpp"

#include "tools/ambrel/Host.hpp"
#include "tools/ambrel/InterruptSignals.hpp"
#include "tools/ambrel/Progress.hpp"
#include "tools/ambrel/ServiceTypes.hpp"

#include "AmbrelKit/Linux/Platform.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

void noteBundleProblem() {
    if (const auto problem = Bundle::main().problem()) {
        std::cerr << "ambrel: note: the information dictionary is of no use: " << *problem << '\n';
    }
}

Linux::PlatformServices services(const CollectionOptions& options) {
    auto services =
        Linux::platformServices({.source = options.location, .desktopId = "org.ambrelkit.ambrel"});
    if (!options.services.empty()) {
        services.bonjourServices = options.services;
    } else if (!services.bonjourServices) {
        services.bonjourServices = commonServiceTypes();
    }
    return services;
}

enum class Ending { delivered, interrupted, readerGone };

/// Waits in poll(2) as a host with a loop of its own would: for the kit's one descriptor beside its
/// own business.
Ending waitForDelivery(const Host& host, RunLoop& loop, Progress* progress) {
    const InterruptSignals signals;
    std::array<pollfd, 3> descriptors{{
        {.fd = loop.fileDescriptor(), .events = POLLIN, .revents = 0},
        {.fd = signals.fileDescriptor(), .events = POLLIN, .revents = 0},
        {.fd = STDOUT_FILENO, .events = 0, .revents = 0},
    }};
    while (!host.delivered()) {
        const int timeout = progress != nullptr ? static_cast<int>(progress->renew().count()) : -1;
        if (poll(descriptors.data(), descriptors.size(), timeout) < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "wait for events");
        }
        if (descriptors[1].revents != 0) {
            return Ending::interrupted;
        }
        if ((descriptors[2].revents & POLLERR) != 0) {
            return Ending::readerGone;
        }
        if (descriptors[0].revents != 0) {
            loop.dispatch();
        }
    }
    return Ending::delivered;
}

} // namespace

std::optional<JSONDictionary> collectOnce(const CollectionOptions& options) {
    if (!options.quiet) {
        noteBundleProblem();
    }
    const auto counts = std::make_shared<CollectionCounts>();
    const auto host = std::make_shared<Host>(options);
    const auto kit = Linux::create(observed(services(options), counts));
    kit->setDelegate(host);
    if (options.threshold) {
        kit->setAmbrelTimeThreshold(*options.threshold);
    }
    std::optional<Progress> progress;
    if (!options.quiet && Progress::isPossible()) {
        progress.emplace(counts);
    }
    kit->startScanningOnce();
    const Ending ending =
        waitForDelivery(*host, *RunLoop::current(), progress ? &*progress : nullptr);
    progress.reset();
    if (ending == Ending::readerGone) {
        std::raise(SIGPIPE); // as writing to it would
    }
    if (ending == Ending::interrupted) {
        kit->stopScanning();
        return std::nullopt;
    }
    return host->delivered();
}

} // namespace Ambrel
