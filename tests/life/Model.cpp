#include "tests/life/Model.hpp"

#include "tests/life/Performance.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>

// Plain on purpose, and apart from the kit: it shares no type and no code with it.

namespace Life {

namespace {

constexpr int start = 1700000000; // seconds since 1970, as the hosts have it
constexpr int granted = 1;

enum Question {
    bluetoothSetting,
    bluetooth,
    locationSetting,
    location,
    precise,
    networkSetting,
    network
};

struct Kit;
struct Store;

struct Delegate {
    int number;
};
struct Timer {
    int due;
    int order;
    std::weak_ptr<Kit> kit;
};
/// Of Bluetooth or of the location, a browser, or a service: each reports to a kit or to none.
struct Object {
    std::weak_ptr<Kit> kit = {};
    std::string type = {};
};
struct Suspender;
struct Observer {
    std::weak_ptr<Suspender> suspender;
    bool registered = true;
};

struct Record {
    int opened; // milliseconds since the start, by the wall clock
    std::array<int, 7> answers{};
    std::map<std::string, std::string> peripherals = {};
    std::map<std::pair<std::string, std::string>, int> services = {};
    std::string fix = {};
    std::string address = {};
};

struct State {
    std::optional<Record> newest;
    std::optional<Record> finished;
};

struct Suspender {
    std::function<void(const char*)> note;
    std::shared_ptr<Store> store;
    std::shared_ptr<Observer> observer = nullptr;

    Suspender(std::function<void(const char*)> note_, std::shared_ptr<Store> store_)
        : note(std::move(note_)), store(std::move(store_)) {}
    Suspender(const Suspender&) = delete;
    Suspender& operator=(const Suspender&) = delete;
    ~Suspender() { disable(); }

    void disable() {
        if (const auto gone = std::exchange(observer, nullptr)) {
            gone->registered = false;
            note("removeObserver");
        }
    }
};

struct Kit {
    std::vector<std::string> types;
    std::weak_ptr<Delegate> delegate = {};
    std::shared_ptr<Timer> timer = nullptr;
    std::shared_ptr<Object> bluetooth = nullptr;
    std::shared_ptr<Object> location = nullptr;
    std::vector<std::shared_ptr<Object>> browsers = {};
    std::vector<std::shared_ptr<Object>> services = {};
    std::optional<int> task = {};
    std::shared_ptr<Store> store = nullptr;
    std::shared_ptr<Suspender> suspender = nullptr;
};

struct Store {
    State state = {};
    std::weak_ptr<Kit> kit;
};

std::string seconds(int milliseconds) { // whole ones
    return std::to_string(start + (milliseconds - (milliseconds % 1000 + 1000) % 1000) / 1000);
}

std::string json(const Record& record) {
    static constexpr std::array<std::pair<const char*, Question>, 7> keys{
        {{"bluetooth_permission", bluetooth},
         {"bluetooth_setting", bluetoothSetting},
         {"location_permission", location},
         {"location_precise_permission", precise},
         {"location_setting", locationSetting},
         {"network_permission", network},
         {"network_setting", networkSetting}}};
    const auto comma = [](const std::string& list) { return list.empty() ? "" : ","; };
    std::string analytics;
    for (const auto& [key, question] : keys) {
        const int answer = record.answers.at(question);
        if (answer == 1 || answer == 2) {
            analytics +=
                std::string(comma(analytics)) + '"' + key + (answer == 1 ? "\":true" : "\":false");
        }
    }
    std::string peripherals;
    for (const auto& [identifier, rest] : record.peripherals) {
        peripherals += comma(peripherals) + (R"({"address":")" + identifier) + "\"" + rest + "}";
    }
    std::string services;
    for (const auto& [service, at] : record.services) {
        services += comma(services) + (R"({"name":")" + service.second) + R"(","protocolType":")" +
                    service.first + R"(","timestamp":)" + seconds(at) + "}";
    }
    return R"({"ambrel_analytics":{)" + analytics + R"(},"bleScan":[)" + peripherals + "]," +
           (record.address.empty() ? "" : R"("ip":")" + record.address + "\",") +
           (record.fix.empty() ? "" : R"("locationCollection":)" + record.fix + ",") +
           R"("nearbyDevices":[)" + services + R"(],"timestamp":)" + seconds(record.opened) +
           R"(,"wifiNetwork":{"connectedDevices":[]}})";
}

class Model final : public Performance {
public:
    Model(const Program& program, const Ability& host) : Performance(program), host_(host) {
        answers_.fill({1, 1, 1, 1, 1, 1, 1});
    }
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
            return endTask(*kit);
        case Op::stopScanning:
            stop(kit);
            kit->suspender->disable();
            return endTask(*kit);
        case Op::automaticMode:
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

    void makes(const char* what) {
        if (host_.makesFactories) {
            callback("makes ", what);
        }
    }

    /// As `note`, but for what goes when the life is over.
    void tell(const char* what) {
        if (!silent_) {
            note(what);
        }
    }

    // The questions.

    int ask(const std::shared_ptr<Kit>& kit, Question question) {
        const auto delegate = kit ? kit->delegate.lock() : nullptr;
        if (!delegate) {
            return 0;
        }
        callback(std::to_string(delegate->number) + " asks ", std::to_string(question));
        return answers_.at(static_cast<std::size_t>(delegate->number)).at(question);
    }

    bool allows(Question question) { return ask(asked_.lock(), question) == granted; }

    void askAll(Record& record) {
        for (const Question question : {bluetooth, bluetoothSetting, network, networkSetting,
                                        location, precise, locationSetting}) {
            record.answers.at(question) = ask(asked_.lock(), question);
        }
    }

    void deliver(const std::shared_ptr<Kit>& kit, const std::string& record) {
        if (const auto delegate = kit ? kit->delegate.lock() : nullptr) {
            callback(std::to_string(delegate->number) + " receives ", record);
        }
    }

    // What becomes of an event. The host may do anything meanwhile.

    void scan(const std::shared_ptr<Store>& store, bool automatic) {
        const State before = store->state;
        const int now = wallClock();
        const auto age = [now](const std::optional<Record>& record) {
            return now - record->opened;
        };
        if (before.finished && age(before.finished) <= threshold_ * 1000) {
            return finish(store, before, json(*before.finished));
        }
        if (before.newest && age(before.newest) <= 10000) {
            store->state = before;
            return;
        }
        Record record{now};
        askAll(record);
        store->state = {record, {}};
        try {
            if (const auto kit = store->kit.lock()) {
                startSources(kit, automatic);
            }
        } catch (...) {
            store->state = before;
            throw;
        }
    }

    /// `observe` enters what was seen into the open record, and asks anew.
    void see(const std::shared_ptr<Store>& store, const std::function<void(Record&)>& observe) {
        State state = store->state;
        const int now = wallClock();
        if (state.newest && now - state.newest->opened > 10000) {
            return finish(store, state, json(*state.newest));
        }
        if (state.newest) {
            observe(*state.newest);
        }
        state.finished.reset();
        store->state = state;
    }

    void finish(const std::shared_ptr<Store>& store, const State& state,
                const std::string& record) {
        store->state = {state.newest, state.newest};
        if (const auto kit = store->kit.lock()) {
            stop(kit);
        }
        deliver(store->kit.lock(), record);
    }

    // Starting and stopping.

    void startSources(const std::shared_ptr<Kit>& kit, bool automatic) {
        if (ask(kit, bluetooth) != granted && ask(kit, location) != granted &&
            ask(kit, network) != granted) {
            Record record{wallClock()};
            askAll(record);
            return deliver(kit, json(record));
        }
        const bool wasAutomatic = kit->suspender->observer != nullptr;
        const bool hadTask = kit->task.has_value();
        std::vector<std::function<void()>> begun;
        try {
            invalidateTimer(*kit);
            makes("timer");
            note("schedule");
            kit->timer = std::make_shared<Timer>(Timer{now_ + 1000, timerCount_++, kit});
            timers_.push_back(kit->timer);
            setAutomatic(*kit, automatic);
            if (allows(bluetooth)) {
                begun.emplace_back([this, kit] { stopBluetooth(kit); });
                kit->bluetooth = makeBluetooth();
                kit->bluetooth->kit = kit;
            }
            if (allows(location)) {
                begun.emplace_back([this, kit] { stopLocation(kit); });
                kit->location = makeLocation();
                kit->location->kit = kit;
            }
            if (allows(network)) {
                begun.emplace_back([kit] { stopServices(*kit); });
                browse(kit);
            }
        } catch (...) { // it has not happened
            invalidateTimer(*kit);
            setObserver(*kit, wasAutomatic);
            if (kit->task.has_value() != hadTask) {
                setTask(*kit, hadTask);
            }
            for (const auto& end : begun) {
                end();
            }
            throw;
        }
    }

    void stop(const std::shared_ptr<Kit>& kit) {
        invalidateTimer(*kit);
        if (allows(bluetooth)) {
            stopBluetooth(kit);
        }
        if (allows(location)) {
            stopLocation(kit);
        }
        if (allows(network)) {
            stopServices(*kit);
        }
    }

    void setAutomatic(Kit& kit, bool automatic) {
        setObserver(kit, automatic);
        setTask(kit, automatic);
    }

    void setObserver(Kit& kit, bool automatic) {
        kit.suspender->disable();
        if (automatic) {
            note("addObserver");
            kit.suspender->observer = std::make_shared<Observer>(Observer{kit.suspender});
            observers_.push_back(kit.suspender->observer);
        }
    }

    void setTask(Kit& kit, bool open) {
        endTask(kit);
        if (open) {
            kit.task = ++taskCount_;
            note("beginBackgroundTask ", std::to_string(*kit.task));
            openTasks_.emplace(*kit.task, kit.suspender);
        }
    }

    void endTask(Kit& kit) {
        if (const auto task = std::exchange(kit.task, std::nullopt)) {
            note("endBackgroundTask ", std::to_string(*task));
            openTasks_.erase(*task);
        }
    }

    void invalidateTimer(const Kit& kit) {
        if (kit.timer) {
            note("invalidate");
            kit.timer->kit.reset();
        }
    }

    std::shared_ptr<Object> makeBluetooth() {
        makes("bluetooth");
        note("bluetooth create");
        auto manager = std::make_shared<Object>();
        bluetooth_ = manager;
        return manager;
    }

    std::shared_ptr<Object> makeLocation() {
        makes("location");
        note("location create");
        auto manager = std::make_shared<Object>();
        location_ = manager;
        return manager;
    }

    void stopBluetooth(const std::shared_ptr<Kit>& kit) {
        const auto manager = kit->bluetooth ? kit->bluetooth : kit->bluetooth = makeBluetooth();
        note("stopScan");
        manager->kit.reset();
    }

    void stopLocation(const std::shared_ptr<Kit>& kit) {
        const auto manager = kit->location ? kit->location : kit->location = makeLocation();
        note("stopUpdatingLocation");
        manager->kit.reset();
    }

    void browse(const std::shared_ptr<Kit>& kit) {
        for (const std::string& type : kit->types) {
            makes("browser");
            note("bonjour create");
            const auto browser = std::make_shared<Object>(Object{kit, type});
            kit->browsers.push_back(browser);
            browsers_.push_back(browser);
            note("searchForServicesOfType");
        }
    }

    static void stopServices(Kit& kit) {
        for (auto* objects : {&kit.browsers, &kit.services}) {
            for (const auto& object : std::exchange(*objects, {})) {
                object->kit.reset();
            }
        }
    }

    // The platform.

    [[nodiscard]] int wallClock() const { return now_ + offset_; }

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

    const Ability& host_;
    bool silent_ = false;
    std::array<std::array<int, 7>, delegates> answers_{};
    std::array<std::shared_ptr<Delegate>, delegates> delegates_;
    std::weak_ptr<Kit> asked_; ///< what may be started and stopped: the last one made
    int threshold_ = 30;

    int now_ = 0;
    int offset_ = 0;
    int timerCount_ = 0;
    int taskCount_ = 0;
    std::string address_;
    std::vector<std::weak_ptr<Timer>> timers_;
    std::vector<std::weak_ptr<Observer>> observers_;
    std::vector<std::weak_ptr<Object>> browsers_;
    std::map<int, std::weak_ptr<Suspender>> openTasks_;
    std::map<int, std::shared_ptr<Object>> services_;
    std::weak_ptr<Object> bluetooth_;
    std::weak_ptr<Object> location_;
    std::array<std::shared_ptr<Kit>, kits> kits_;
};

} // namespace

std::string expectedTrace(const Program& program, const Ability& host) {
    return Model(program, host).run();
}

} // namespace Life
