#include "AmbrelKit/Simulated/Replay/ScriptRunner.hpp"

namespace AmbrelKit::Simulated {

namespace {

template <class... Handlers> struct Overloaded : Handlers... { using Handlers::operator()...; };
template <class... Handlers> Overloaded(Handlers...) -> Overloaded<Handlers...>;

} // namespace

ScriptRunner::ScriptRunner(const ScriptHeader& header, EventSink sink)
    : platform_(header.platform), host_(platform_, header.bonjourServices) {
    platform_.setSink(std::move(sink));
    host_.setDeliveryHandler([this](const JSONDictionary& /*data*/) { handleDelivery(); });
}

ScriptRunner::~ScriptRunner() { platform_.setSink({}); }

void ScriptRunner::run(const ScriptStep& step) {
    using namespace ScriptActions;
    platform_.clock().advanceTo(step.at);
    std::visit(
        Overloaded{
            [&](const HostCall& call) { perform(call, step.line); },
            [&](const OnDelivery& action) { onDelivery_.emplace(step.line, action.calls); },
            [&](const Statuses& action) {
                for (const auto& [query, status] : action.answers) {
                    host_.setStatus(query, status);
                }
            },
            [&](const Clock& action) { platform_.clock().setOffset(action.offset); },
            [&](const BluetoothState& action) { platform_.bluetooth().reportState(action.state); },
            [&](const BluetoothDiscover& action) {
                platform_.bluetooth().reportDiscovery(action.peripheral);
            },
            [&](const BonjourFound& action) {
                platform_.bonjour().reportFound(action.type, action.name);
            },
            [&](const BonjourResolved& action) {
                platform_.bonjour().reportResolved(action.type, action.name, action.records);
            },
            [&](const LocationAuthorization& action) {
                platform_.location().reportAuthorization(action.status);
            },
            [&](const LocationUpdate& action) { platform_.location().reportUpdate(action.fixes); },
            [&](const LocationFail& action) { platform_.location().reportFailure(action.error); },
            [&](const NetworkInterfaces& action) {
                platform_.network().setInterfaces(action.interfaces);
            },
            [&](const NetworkCaptive& action) {
                platform_.network().setCaptiveNetwork(action.supported, action.info);
            },
            [&](DidBecomeActive) {
                platform_.notificationCenter().post(ApplicationDidBecomeActiveNotification);
            },
            [&](const Expire& action) { platform_.application().expire(action.task); },
            [](End) {},
        },
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
