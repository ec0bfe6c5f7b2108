#include "tools/ambrel/Live/MachineFeed.hpp"

#include "tools/ambrel/Collecting/Collection.hpp"
#include "tools/ambrel/Collecting/ObservedPlatform.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

MachineFeed::MachineFeed(const CollectionOptions& options)
    : sources_(Linux::sourceReports([this] { sourcesChanged(*sources_); })),
      observer_(makeObserver()), host_(std::make_shared<CommandLineHost>(options)) {
    if (const auto problem = Bundle::main().problem()) {
        sayNote("the information dictionary is of no use: " + *problem); // to be seen afterwards
    }
    kit_ = Linux::create(observed(servicesOf(options), observer_));
    observedNetwork_ = observeNetwork(observer_);
    kit_->setDelegate(host_);
    kit_->setHistoryLimit(1);
    kit_->setAmbrelTimeThreshold(0); // each is to be collected
    host_->setComplete([this](const Delivery& /*delivery*/) { collectAgain(); });
    goOn();
}

Moment MachineFeed::now() const {
    return {.time = before_ + (running_ ? Clock::now() - *running_ : Clock::duration()),
            .date = std::chrono::system_clock::now()};
}

void MachineFeed::pause() {
    before_ = now().time;
    running_.reset();
    again_.reset();
    kit_->stopScanning();
    changed();
}

void MachineFeed::goOn() {
    running_ = Clock::now();
    kit_->startScanningOnce();
    changed();
}

/// Not inside the delivery, which comes at once where there is nothing to wait for.
void MachineFeed::collectAgain() {
    constexpr double soon = 0.001; // seconds
    again_ = RunLoop::current()->scheduledTimer(soon, false, [this](Timer&) {
        while (host_->hasDelivered()) {
            host_->takeDelivered();
        }
        kit_->startScanningOnce();
    });
}

std::string MachineFeed::state() const {
    return runs() ? "collection " + std::to_string(collections()) : "paused";
}

} // namespace Ambrel
