#include "tests/life/Model.hpp"

#include "tests/life/ModelLogic.hpp"

#include <algorithm>

namespace Life {

namespace {

/// The kits, and the host and the platform that they are on.
class Model final : public ModelLogic {
public:
    Model(const Program& program, const Ability& host) : ModelLogic(program, host) {}
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;
    ~Model() override { silent_ = true; }

private:
    // The host.

    void perform(const Step& step) override {
        if (step.op <= Op::release) {
            if (const auto kit =
                    kits_.at(static_cast<std::size_t>(step.who))) { // held until it returns
                operate(kit, step);
            }
            return;
        }
        auto& place = kits_.at(static_cast<std::size_t>(step.who));
        auto& answers = answers_.at(static_cast<std::size_t>(step.who));
        switch (step.op) {
        case Op::create:
            release(place);
            place = std::make_shared<Kit>();
            for (const char* type : serviceTypes(step.who)) {
                place->types.emplace_back(type);
            }
            place->store = std::make_shared<Store>();
            place->store->kit = place;
            place->suspender =
                std::make_shared<Suspender>([this](const char* what) { tell(what); }, place->store);
            asked_ = place;
            attach(*place, step.value);
            break;
        case Op::drop:
            delegates_.at(static_cast<std::size_t>(step.who)).reset();
            break;
        case Op::answer:
            answers.at(static_cast<std::size_t>(step.value / 8)) = step.value % 8;
            break;
        case Op::permit:
            answers[bluetooth] = answers[location] = answers[network] = step.value;
            break;
        default:
            happen(step);
        }
    }

    void operate(const std::shared_ptr<Kit>& kit, const Step& step) {
        switch (step.op) {
        case Op::startScanning:
            return scan(kit->store, true);
        case Op::startScanningOnce:
            return scan(kit->store, false);
        case Op::completeScanning:
            kit->taskBefore = false;
            return endTask(*kit);
        case Op::stopScanning:
            kit->automaticBefore = kit->taskBefore = false;
            stop(kit);
            kit->suspender->disable();
            return endTask(*kit);
        case Op::automaticMode:
            kit->automaticBefore = kit->taskBefore = true;
            return setAutomatic(*kit, true);
        case Op::setThreshold:
            if (step.value < 0 || step.value > 30) {
                return note("refused");
            }
            threshold_ = step.value;
            return;
        case Op::attach:
            return attach(*kit, step.value);
        case Op::release:
            return release(kits_.at(static_cast<std::size_t>(step.who)));
        default:
            return;
        }
    }

    void attach(Kit& kit, int number) {
        kit.delegate.reset();
        if (number >= 0) {
            auto& delegate = delegates_.at(static_cast<std::size_t>(number));
            if (!delegate) {
                delegate = std::make_shared<Delegate>(Delegate{number});
            }
            kit.delegate = delegate;
        }
    }

    void release(std::shared_ptr<Kit>& place) {
        if (place && !host_.sharesDelegates) { // the delegate goes with it
            place->delegate.reset();
        }
        place.reset();
    }

    /// As `note`, but for what goes when the life is over.
    void tell(const char* what) {
        if (!silent_) {
            note(what);
        }
    }

    // The platform.

    void happen(const Step& step) {
        switch (step.op) {
        case Op::bluetoothState:
            if (const auto [manager, kit] = reached(bluetooth_); kit && step.value == 5) {
                note("scanForPeripheralsWithServices");
            }
            break;
        case Op::discover:
            if (const auto [manager, kit] = reached(bluetooth_); kit) {
                const std::string rest =
                    (step.who == 0 ? "" : R"(,"name":")" + std::to_string(step.who) + '"') +
                    R"(,"timestamp":)" + seconds(wallClock());
                see(kit->store, [&](Record& record) {
                    record.peripherals[peripheral(step.value)] = rest;
                    askAll(record);
                });
            }
            break;
        case Op::authorization:
            if (const auto [manager, kit] = reached(location_);
                kit && (step.value == 0 || step.value >= 3)) {
                note(step.value == 0 ? "requestWhenInUseAuthorization" : "startUpdatingLocation");
            }
            break;
        case Op::fix:
            if (const auto [manager, kit] = reached(location_); kit) {
                const std::string value = std::to_string(step.value);
                see(kit->store, [&](Record& record) {
                    record.fix = R"({"lat":)" + value + R"(.5,"lon":1.5,"timestamp":170000000)" +
                                 value + "}";
                    askAll(record);
                });
            }
            break;
        case Op::found:
            return find(step.value);
        case Op::resolved:
            return resolve(step.value);
        case Op::interface:
            address_ = step.value == 0 ? "" : address(step.value);
            break;
        case Op::clock:
            offset_ = step.value;
            break;
        case Op::active:
            return becomeActive();
        case Op::expire:
            return expire(step.value + 1);
        default:
            advance();
        }
    }

    /// Who is told by the newest of them, which lives as long as this.
    static std::pair<std::shared_ptr<Object>, std::shared_ptr<Kit>>
    reached(const std::weak_ptr<Object>& newest) {
        const auto object = newest.lock();
        return {object, object ? object->kit.lock() : nullptr};
    }

    void find(int number) {
        for (const auto& weak : browsers_) {
            const auto [browser, kit] = reached(weak);
            if (kit && browser->type == services[number].type) {
                auto& service = services_[number];
                service = service ? service : std::make_shared<Object>();
                service->kit = kit;
                note("resolveWithTimeout");
                kit->services.push_back(service);
                return;
            }
        }
    }

    void resolve(int number) {
        if (const auto [service, kit] = reached(services_[number]); kit) {
            const int now = wallClock();
            see(kit->store, [&](Record& record) {
                record.services[{services[number].type, services[number].name}] = now;
                askAll(record);
            });
        }
    }

    void becomeActive() {
        for (const auto& weak : std::vector(observers_)) {
            const auto observer = weak.lock();
            const auto suspender =
                observer && observer->registered ? observer->suspender.lock() : nullptr;
            if (suspender) {
                scan(suspender->store, true);
            }
        }
    }

    void expire(int task) {
        const auto open = openTasks_.find(task);
        const auto suspender = open == openTasks_.end() ? nullptr : open->second.lock();
        if (const auto kit = suspender ? suspender->store->kit.lock() : nullptr) {
            endTask(*kit);
        }
    }

    void advance() {
        for (;;) {
            std::shared_ptr<Timer> next;
            for (const auto& weak : timers_) {
                const auto timer = weak.lock();
                if (timer && !timer->kit.expired() && timer->due <= time() &&
                    (!next ||
                     std::pair(timer->due, timer->order) < std::pair(next->due, next->order))) {
                    next = timer;
                }
            }
            if (!next) {
                break;
            }
            now_ = std::max(now_, next->due);
            next->due += 1000;
            const auto kit = next->kit.lock();
            see(kit->store, [this, address = address_](Record& record) {
                askAll(record);
                record.address = address;
                askAll(record);
            });
        }
        now_ = std::max(now_, time());
    }

    bool silent_ = false;
    std::array<std::shared_ptr<Delegate>, delegates> delegates_;
    std::string address_;
    std::map<int, std::shared_ptr<Object>> services_;
    std::array<std::shared_ptr<Kit>, kits> kits_;
};

} // namespace

std::string expectedTrace(const Program& program, const Ability& host) {
    return Model(program, host).run();
}

} // namespace Life
