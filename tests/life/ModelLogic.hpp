#ifndef AMBREL_TESTS_LIFE_MODELLOGIC_HPP
#define AMBREL_TESTS_LIFE_MODELLOGIC_HPP

#include "tests/life/ModelKit.hpp"
#include "tests/life/Performance.hpp"

namespace Life {

/// What the model's kits make of requests and reports.
class ModelLogic : public Performance {
protected:
    ModelLogic(const Program& program, const Ability& host) : Performance(program), host_(host) {
        answers_.fill({1, 1, 1, 1, 1, 1, 1});
    }

    void makes(const char* what) {
        if (host_.makesFactories) {
            callback("makes ", what);
        }
    }

    [[nodiscard]] int wallClock() const { return now_ + offset_; }

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
        kit->automaticBefore = kit->suspender->observer != nullptr;
        kit->taskBefore = kit->task.has_value();
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
            const bool hadTask = kit->taskBefore;
            setObserver(*kit, kit->automaticBefore);
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

    const Ability& host_;
    std::array<std::array<int, 7>, delegates> answers_{};
    std::weak_ptr<Kit> asked_; ///< what may be started and stopped: the last one made
    int threshold_ = 30;

    int now_ = 0;
    int offset_ = 0;
    int timerCount_ = 0;
    int taskCount_ = 0;
    std::vector<std::weak_ptr<Timer>> timers_;
    std::vector<std::weak_ptr<Observer>> observers_;
    std::vector<std::weak_ptr<Object>> browsers_;
    std::map<int, std::weak_ptr<Suspender>> openTasks_;
    std::weak_ptr<Object> bluetooth_;
    std::weak_ptr<Object> location_;
};

} // namespace Life

#endif
