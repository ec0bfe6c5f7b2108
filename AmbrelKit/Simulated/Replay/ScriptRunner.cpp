#include "AmbrelKit/Simulated/Replay/ScriptRunner.hpp"

namespace AmbrelKit::Simulated {

namespace {

template <class... Handlers> struct Overloaded : Handlers... { using Handlers::operator()...; };
template <class... Handlers> Overloaded(Handlers...) -> Overloaded<Handlers...>;

} // namespace

bool happen(Platform& platform, const ScriptAction& action) {
    using namespace ScriptActions;
    bool isThePlatforms = true;
    std::visit(
        Overloaded{
            [&](const Clock& clock) { platform.clock().setOffset(clock.offset); },
            [&](const BluetoothState& report) { platform.bluetooth().reportState(report.state); },
            [&](const BluetoothDiscover& report) {
                platform.bluetooth().reportDiscovery(report.peripheral);
            },
            [&](const BonjourFound& report) {
                platform.bonjour().reportFound(report.type, report.name);
            },
            [&](const BonjourResolved& report) {
                platform.bonjour().reportResolved(report.type, report.name, report.records);
            },
            [&](const LocationAuthorization& report) {
                platform.location().reportAuthorization(report.status);
            },
            [&](const LocationUpdate& report) { platform.location().reportUpdate(report.fixes); },
            [&](const LocationFail& report) { platform.location().reportFailure(report.error); },
            [&](const NetworkInterfaces& state) {
                platform.network().setInterfaces(state.interfaces);
            },
            [&](const NetworkCaptive& state) {
                platform.network().setCaptiveNetwork(state.supported, state.info);
            },
            [&](DidBecomeActive) {
                platform.notificationCenter().post(ApplicationDidBecomeActiveNotification);
            },
            [&](const Expire& expiry) { platform.application().expire(expiry.task); },
            [&](const auto& /*hosts*/) { isThePlatforms = false; },
        },
        action);
    return isThePlatforms;
}

ScriptRunner::ScriptRunner(Platform& platform, const ScriptHeader& header, EventSink sink)
    : platform_(platform), host_(platform_, header.bonjourServices) {
    platform_.setSink(std::move(sink));
    host_.setDeliveryHandler([this](const JSONDictionary& /*data*/) { handleDelivery(); });
}

ScriptRunner::~ScriptRunner() { platform_.setSink({}); }

void ScriptRunner::run(const ScriptStep& step) {
    using namespace ScriptActions;
    platform_.clock().advanceTo(step.at);
    if (happen(platform_, step.action)) {
        return;
    }
    std::visit(
        Overloaded{[&](const HostCall& call) { perform(call, step.line); },
                   [&](const OnDelivery& action) { onDelivery_.emplace(step.line, action.calls); },
                   [&](const Statuses& action) {
                       for (const auto& [query, status] : action.answers) {
                           host_.setStatus(query, status);
                       }
                   },
                   [](const auto& /*action*/) {}},
        step.action);
}

void ScriptRunner::perform(const HostCall& call, std::size_t line) {
    using Operation = HostCall::Operation;
    if (!host_.sdk() && call.operation != Operation::create) {
        platform_.setSink({}); // the kit's calls on the stack unwind unseen
        throw ScriptError(line, "the host has released the facade");
    }
    switch (call.operation) {
    case Operation::startScanning:
        return host_.sdk()->startScanning();
    case Operation::startScanningOnce:
        return host_.sdk()->startScanningOnce();
    case Operation::completeScanning:
        return host_.sdk()->completeScanning();
    case Operation::stopScanning:
        return host_.sdk()->stopScanning();
    case Operation::automaticMode:
        return host_.sdk()->automaticModeForNotificationAndBackgroundTask();
    case Operation::setThreshold:
        return setThreshold(call.threshold);
    case Operation::attachDelegate:
        return host_.attachDelegate();
    case Operation::detachDelegate:
        return host_.detachDelegate();
    case Operation::releaseDelegate:
        return host_.releaseDelegate();
    case Operation::release:
        return host_.release();
    case Operation::create:
        return host_.create();
    }
}

void ScriptRunner::setThreshold(std::int64_t seconds) {
    try {
        host_.sdk()->setAmbrelTimeThreshold(seconds);
    } catch (const AmbrelError& error) {
        platform_.context()->report("host", "setAmbrelTimeThreshold", {{"error", error.what()}});
    }
}

void ScriptRunner::handleDelivery() {
    const auto onDelivery = std::exchange(onDelivery_, std::nullopt);
    if (!onDelivery) {
        return;
    }
    const auto& [line, calls] = *onDelivery;
    for (const HostCall& call : calls) {
        perform(call, line);
    }
}

} // namespace AmbrelKit::Simulated
