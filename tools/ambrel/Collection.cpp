#include "tools/ambrel/Collection.hpp"

#include "tools/ambrel/InterruptSignals.hpp"
#include "tools/ambrel/ServiceTypes.hpp"

#include "AmbrelKit/Linux/Platform.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <poll.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

void noteBundleProblem() {
    if (const auto problem = Bundle::main().problem()) {
        std::cerr << "ambrel: note: the information dictionary is of no use: " << *problem << '\n';
    }
}

Linux::PlatformServices services(const CollectionOptions& options) {
    auto services = Linux::platformServices(locationOptions(options.location));
    services.bonjourServices = serviceTypes(options);
    return services;
}

} // namespace

std::vector<std::string> serviceTypes(const CollectionOptions& options) {
    auto types = options.services;
    if (types.empty()) {
        types = Bundle::main().bonjourServices().value_or(commonServiceTypes());
    }
    std::vector<std::string> distinct;
    for (auto& type : types) {
        if (!type.ends_with('.')) {
            type += '.';
        }
        if (std::find(distinct.begin(), distinct.end(), type) == distinct.end()) {
            distinct.push_back(std::move(type));
        }
    }
    return distinct;
}

Collection::Collection(const CollectionOptions& options, std::shared_ptr<Host> host,
                       const std::shared_ptr<PlatformObserver>& observer)
    : host_(std::move(host)), showsProgress_(!options.quiet && Progress::isPossible()) {
    if (!options.quiet) {
        noteBundleProblem();
    }
    auto observedServices = observed(services(options), counts_);
    countedNetwork_.emplace(counts_);
    if (observer) {
        observedServices = observed(std::move(observedServices), observer);
        observedNetwork_.emplace(observer);
    }
    kit_ = Linux::create(std::move(observedServices));
    kit_->setDelegate(host_);
    if (options.threshold) {
        kit_->setAmbrelTimeThreshold(*options.threshold);
    }
}

std::optional<JSONDictionary> Collection::next() {
    const Ending ending = wait();
    progress_.reset();
    counts_->collectionEnded();
    if (ending == Ending::delivered) {
        return host_->takeDelivered();
    }
    kit_->stopScanning();
    if (ending == Ending::readerGone) {
        std::raise(SIGPIPE); // as writing to it would
    }
    return std::nullopt;
}

/// Waits in poll(2) as a host with a loop of its own would: for the kit's one descriptor beside its
/// own business.
Collection::Ending Collection::wait() {
    const auto loop = RunLoop::current();
    const InterruptSignals signals;
    std::array<pollfd, 3> descriptors{{
        {.fd = loop->fileDescriptor(), .events = POLLIN, .revents = 0},
        {.fd = signals.fileDescriptor(), .events = POLLIN, .revents = 0},
        {.fd = STDOUT_FILENO, .events = 0, .revents = 0},
    }};
    while (!host_->hasDelivered()) {
        if (poll(descriptors.data(), descriptors.size(), renewProgress()) < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "wait for events");
        }
        if (descriptors[1].revents != 0) {
            return Ending::interrupted;
        }
        if ((descriptors[2].revents & POLLERR) != 0) {
            return Ending::readerGone;
        }
        if (descriptors[0].revents != 0) {
            loop->dispatch();
        }
    }
    return Ending::delivered;
}

/// Returns when it is to be renewed next, in milliseconds from now, or -1.
int Collection::renewProgress() {
    if (showsProgress_ && !progress_ && counts_->running()) {
        progress_.emplace(counts_);
    }
    return progress_ ? static_cast<int>(progress_->renew().count()) : -1;
}

} // namespace Ambrel
