#include "tests/life/KitHost.hpp"

#include "AmbrelKit/Simulated/Platform.hpp"
#include "tests/life/Performance.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

using namespace AmbrelKit;

namespace Life {

namespace {

class KitHost final : public Performance {
public:
    explicit KitHost(const Program& program) : Performance(program) {
        answers_.fill({1, 1, 1, 1, 1, 1, 1});
        platform_.setSink([this](const Simulated::Event& event) { tell(event); });
    }

private:
    class Delegate;

    void tell(const Simulated::Event& event) {
        std::string line;
        if (event.operation == "create") {
            line.append(event.object).append(" ");
        }
        line += event.operation;
        if (event.object == "application") {
            line += " " + std::to_string(std::get<std::int64_t>(event.arguments[0].value));
        }
        note(line);
    }

    void perform(const Step& step) override {
        const auto who = static_cast<std::size_t>(step.who);
        switch (step.op) {
        case Op::create:
            return create(step);
        case Op::drop:
            return delegates_.at(who).reset();
        case Op::answer:
            answers_.at(who).at(static_cast<std::size_t>(step.value / 8)) = step.value % 8;
            return;
        case Op::permit:
            for (const std::size_t permission : {1U, 3U, 6U}) {
                answers_.at(who).at(permission) = step.value;
            }
            return;
        default:
            return step.op > Op::release ? happen(step) : kits_.at(who) ? operate(step) : void();
        }
    }

    /// It holds the kit by nothing but its place, as a host may.
    void operate(const Step& step) {
        auto& kit = kits_.at(static_cast<std::size_t>(step.who));
        switch (step.op) {
        case Op::startScanning:
            return kit->startScanning();
        case Op::startScanningOnce:
            return kit->startScanningOnce();
        case Op::completeScanning:
            return kit->completeScanning();
        case Op::stopScanning:
            return kit->stopScanning();
        case Op::automaticMode:
            return kit->automaticModeForNotificationAndBackgroundTask();
        case Op::setThreshold:
            return kit->setAmbrelTimeThreshold(step.value, nullptr) ? void() : note("refused");
        case Op::setHistoryLimit:
            return kit->setHistoryLimit(step.value > 0 ? std::optional<std::size_t>(step.value)
                                                       : std::nullopt);
        case Op::attach:
            return attach(*kit, step.value);
        default:
            return kit.reset();
        }
    }

    void create(const Step& step) {
        auto& place = kits_.at(static_cast<std::size_t>(step.who));
        place.reset();
        const auto types = serviceTypes(step.who);
        place = AmbrelSDK::create(
            std::vector<std::string>(types.begin(), types.end()),
            [this] { return callback("makes ", "bluetooth"), platform_.bluetooth().makeManager(); },
            [this] { return callback("makes ", "location"), platform_.location().makeManager(); },
            [this] { return callback("makes ", "browser"), platform_.bonjour().makeBrowser(); },
            [this](double interval, bool repeats, TimerTick tick) {
                callback("makes ", "timer");
                return platform_.clock().scheduledTimer(interval, repeats, std::move(tick));
            },
            std::shared_ptr<NotificationCenter>(shared_, &platform_.notificationCenter()),
            std::shared_ptr<Application>(shared_, &platform_.application()));
        made_.push_back(place);
        attach(*place, step.value);
    }

    void attach(AmbrelSDK& kit, int number);

    void happen(const Step& step) {
        using namespace std::chrono_literals;
        switch (step.op) {
        case Op::bluetoothState:
            return platform_.bluetooth().reportState(BluetoothManagerState(step.value));
        case Op::discover:
            return platform_.bluetooth().reportDiscovery(
                {.identifier = UUID::parse(peripheral(step.value)).value(),
                 .name = step.who == 0 ? std::nullopt : std::optional(std::to_string(step.who))});
        case Op::found:
            return platform_.bonjour().reportFound(services[step.value].type,
                                                   services[step.value].name);
        case Op::resolved:
            return platform_.bonjour().reportResolved(services[step.value].type,
                                                      services[step.value].name, {});
        case Op::authorization:
            return platform_.location().reportAuthorization(
                LocationAuthorizationStatus(step.value));
        case Op::fix:
            return platform_.location().reportUpdate(
                {{.coordinate = {.latitude = step.value + 0.5, .longitude = 1.5},
                  .timestamp =
                      std::chrono::system_clock::time_point(1700000000s + 1s * step.value)}});
        case Op::interface:
            return platform_.network().setInterfaces(
                step.value == 0
                    ? std::vector<Simulated::InterfaceAddress>()
                    : std::vector<Simulated::InterfaceAddress>{{"en0", address(step.value)}});
        case Op::clock:
            return platform_.clock().setOffset(1ms * step.value);
        case Op::active:
            return platform_.notificationCenter().post(ApplicationDidBecomeActiveNotification);
        case Op::expire:
            return platform_.application().expire(step.value + 1);
        default:
            return platform_.clock().advanceTo(1ms * time());
        }
    }

    void end() override {
        if (std::ranges::any_of(made_, [](const auto& kit) { return !kit.expired(); })) {
            note("a kit that was released lives on");
        }
    }

    Simulated::Platform platform_{{.start = std::chrono::seconds(1700000000), .identifiers = {}}};
    std::shared_ptr<void> shared_ = std::make_shared<int>();
    std::array<std::array<int, 7>, delegates> answers_{};
    std::array<std::shared_ptr<Delegate>, delegates> delegates_;
    std::array<std::shared_ptr<AmbrelSDK>, kits> kits_;
    std::vector<std::weak_ptr<AmbrelSDK>> made_;
};

class KitHost::Delegate final : public AmbrelSDKDelegate {
    using Status = AmbrelPermissionStatus;

public:
    Delegate(KitHost& host, int number) : host_(host), number_(number) {}

    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override {
        host_.callback(std::to_string(number_) + " receives ", JSONValue(data).dump());
    }
    Status bluetoothSettingStatus() override { return answer(0); }
    Status bluetoothPermissionStatus() override { return answer(1); }
    Status locationSettingStatus() override { return answer(2); }
    Status locationPermissionStatus() override { return answer(3); }
    Status locationPrecisePermissionStatus() override { return answer(4); }
    Status networkSettingStatus() override { return answer(5); }
    Status networkPermissionStatus() override { return answer(6); }

private:
    Status answer(std::size_t question) {
        host_.callback(std::to_string(number_) + " asks ", std::to_string(question));
        return Status(host_.answers_.at(static_cast<std::size_t>(number_)).at(question));
    }

    KitHost& host_;
    int number_;
};

void KitHost::attach(AmbrelSDK& kit, int number) {
    if (number < 0) {
        return kit.setDelegate({});
    }
    auto& delegate = delegates_.at(static_cast<std::size_t>(number));
    if (!delegate) {
        delegate = std::make_shared<Delegate>(*this, number);
    }
    kit.setDelegate(delegate);
}

} // namespace

std::string trace(const Program& program) { return KitHost(program).run(); }

} // namespace Life
