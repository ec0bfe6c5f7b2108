#include "tools/ambrel/Collecting/Collection.hpp"

#include "tools/ambrel/Process/InterruptSignals.hpp"
#include "tools/ambrel/Store/Store.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include "AmbrelKit/Linux/NearbyDevices/UsualServiceTypes.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <initializer_list>
#include <poll.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

/// Whether it can be printed as it is to be, and each of the files written as a whole: in one, the
/// last would be all that is left.
const CollectionOptions& checked(const CollectionOptions& options) {
    const auto checkTwo = [](const std::string& name, const std::string& other) {
        if (!name.empty() && nameOneFile(name, other)) {
            throw CommandError(badInput, "\"" + name + "\" can't hold two things: name two files");
        }
    };
    (void)outputFormat(options.output);
    checkTwo(options.script, options.outcome);
    checkTwo(options.script, options.details);
    checkTwo(options.outcome, options.details);
    return options;
}

std::vector<std::string> deaf(const std::vector<SourceReport>& sources) {
    std::vector<std::string> names;
    for (const SourceReport& report : sources) {
        if (report.collection.outcome == SourceOutcome::failed) {
            names.emplace_back(code(report.source));
        }
    }
    return names;
}

/// What stands in the way of writing a file is told.
bool isDone(const std::function<void()>& write) {
    try {
        write();
        return true;
    } catch (const std::system_error& error) {
        say(error.what());
        return false;
    }
}

} // namespace

std::vector<std::string> serviceTypes(const CollectionOptions& options) {
    return options.services.empty() ? Linux::usualServiceTypes()
                                    : Linux::usualServiceTypes(options.services);
}

Linux::PlatformServices servicesOf(const CollectionOptions& options) {
    auto services = Linux::platformServices(locationOptions(options.location), options.mdns);
    services.bonjourServices = serviceTypes(options);
    return services;
}

Collection::Collection(const CollectionOptions& options, std::shared_ptr<CommandLineHost> host,
                       const std::shared_ptr<PlatformObserver>& observer)
    : options_(checked(options)),
      outcome_(options.outcome.empty() ? nullptr : std::make_unique<ResultFile>(options.outcome)),
      details_(options.details.empty()
                   ? nullptr
                   : std::make_shared<DetailsFile>(options.details, options.earlierDetails)),
      notes_(options, [this](const std::string& text) { note(text); }),
      sources_(Linux::sourceReports(
          [this] { notes_.lifecycleChanged(sources_->report(Source::lifecycle).condition); })),
      host_(std::move(host)) {
    if (const auto problem = Bundle::main().problem()) {
        note("the information dictionary is of no use: " + *problem);
    }
    auto observedServices = servicesOf(options);
    // A report is told to them in this order: the recorder sets the time of it.
    for (const auto& each :
         std::initializer_list<std::shared_ptr<PlatformObserver>>{counts_, observer, details_}) {
        if (each) {
            observedServices = observed(std::move(observedServices), each);
            observedNetwork_.push_back(observeNetwork(each));
        }
    }
    kit_ = Linux::create(std::move(observedServices));
    kit_->setDelegate(host_);
    host_->setComplete(
        [counts = counts_, sources = sources_, accounts = outcome_ != nullptr](Delivery& delivery) {
            if (accounts) {
                delivery.outcome = dictionary(*sources);
            }
            if (counts->end()) {
                delivery.sources = sources->reports();
            }
        });
}

Delivery Collection::next() {
    const auto signal = wait();
    progress_.reset();
    if (signal) {
        kit_->stopScanning();
        throw EndBySignal(*signal);
    }
    return host_->takeDelivered();
}

/// Waits in poll(2) as a host with a loop of its own would: for the kit's one descriptor beside its
/// own business. Nothing when there is a dictionary, else the signal that is to end the program.
std::optional<int> Collection::wait() {
    const auto loop = RunLoop::current();
    InterruptSignals signals;
    std::array<pollfd, 3> descriptors{{
        {.fd = loop->fileDescriptor(), .events = POLLIN, .revents = 0},
        {.fd = signals.fileDescriptor(), .events = POLLIN, .revents = 0},
        {.fd = STDOUT_FILENO, .events = 0, .revents = 0},
    }};
    while (true) {
        if (const auto signal = signals.take()) {
            return signal;
        }
        if ((descriptors[2].revents & POLLERR) != 0) {
            return SIGPIPE; // as writing to it would
        }
        if ((descriptors[2].revents & POLLNVAL) != 0) {
            descriptors[2].fd = -1; // there is no standard output
        }
        if (host_->hasDelivered()) {
            return std::nullopt;
        }
        if (poll(descriptors.data(), descriptors.size(), renewProgress()) < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "wait for events");
        }
        if (descriptors[0].revents != 0) {
            loop->dispatch();
        }
    }
}

/// Returns when it is to be renewed next, in milliseconds from now, or -1.
int Collection::renewProgress() {
    if (!progress_ && counts_->running() && Progress::isPossible(options_)) {
        progress_.emplace(counts_, sources_, options_);
    }
    return progress_ ? static_cast<int>(progress_->renew().count()) : -1;
}

void Collection::note(const std::string& text) {
    if (!options_.quiet) {
        if (progress_) {
            progress_->clear();
        }
        sayNote(text, options_.output.color);
    }
}

ExitStatus Collection::handOver(const Delivery& delivery) {
    return handOver(delivery, presented(delivery.data, options_.output, deaf(delivery.sources)));
}

ExitStatus Collection::handOver(const Delivery& delivery, const std::string& result) {
    const bool detailed = !details_ || isDone([&] { details_->finish(); });
    const bool accounted = !outcome_ || isDone([&] {
        outcome_->write(printableJSON(JSONValue(delivery.outcome).dump()));
        outcome_->finish();
    });
    const bool kept = !options_.save || saveCollection(delivery.data);
    printResult(result);
    notes_.collected(delivery.sources);
    const bool allListened =
        std::ranges::none_of(delivery.sources, [&](const SourceReport& report) {
            return isWanted(options_, report.source) &&
                   report.collection.outcome == SourceOutcome::failed;
        });
    if (!detailed || !accounted || !kept) {
        return failed;
    }
    return options_.strict && !allListened ? notUsable : done;
}

} // namespace Ambrel
