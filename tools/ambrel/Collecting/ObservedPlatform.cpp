#include "tools/ambrel/Collecting/ObservedPlatform.hpp"

#include <nlohmann/json.hpp>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

/// What the decorators have in common: each stands between a platform object, whose delegate it is,
/// and the kit's delegate. A report goes to the observer first.
template <class Object, class Delegate> class Observed
    : public Object,
      public Delegate,
      public std::enable_shared_from_this<Observed<Object, Delegate>> {
public:
    Observed(std::shared_ptr<Object> object, std::shared_ptr<PlatformObserver> observer)
        : object_(std::move(object)), observer_(std::move(observer)) {}

    [[nodiscard]] std::shared_ptr<Delegate> delegate() const override { return delegate_.lock(); }

    void setDelegate(std::weak_ptr<Delegate> delegate) override {
        const bool absent = delegate.expired();
        delegate_ = std::move(delegate);
        object_->setDelegate(absent ? std::weak_ptr<Delegate>() : this->weak_from_this());
    }

protected:
    [[nodiscard]] Object& object() const { return *object_; }
    [[nodiscard]] const std::shared_ptr<PlatformObserver>& observer() const { return observer_; }

    /// Either may let go of this object.
    template <class Tell, class Forward> void report(Tell tell, Forward forward) {
        const auto keep = this->shared_from_this();
        tell(*observer_);
        if (const auto receiver = delegate_.lock()) {
            forward(*receiver);
        }
    }

private:
    std::shared_ptr<Object> object_;
    std::shared_ptr<PlatformObserver> observer_;
    std::weak_ptr<Delegate> delegate_;
};

class ObservedBluetoothManager final
    : public Observed<BluetoothCentralManager, BluetoothCentralManagerDelegate> {
public:
    using Observed::Observed;

    [[nodiscard]] BluetoothManagerState state() const override { return object().state(); }
    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& services,
                                        const std::optional<JSONDictionary>& options) override {
        auto asked = options;
        if (observer()->wantsAdvertisementData()) {
            asked = asked.value_or(JSONDictionary());
            asked->insert_or_assign(advertisementDataOption, true);
        }
        object().scanForPeripheralsWithServices(services, asked);
    }
    void stopScan() override { object().stopScan(); }

    void centralManagerDidUpdateState(BluetoothCentralManager& manager) override {
        report([&](auto& observer) { observer.bluetoothDidUpdateState(manager.state()); },
               [&](auto& receiver) { receiver.centralManagerDidUpdateState(*this); });
    }
    void centralManagerDidDiscoverPeripheral(BluetoothCentralManager& /*manager*/,
                                             const Peripheral& peripheral,
                                             const JSONDictionary& advertisementData,
                                             int rssi) override {
        report(
            [&](auto& observer) {
                observer.bluetoothDidDiscover(peripheral, advertisementData, rssi);
            },
            [&](auto& receiver) {
                receiver.centralManagerDidDiscoverPeripheral(*this, peripheral, advertisementData,
                                                             rssi);
            });
    }
};

class ObservedLocationManager final : public Observed<LocationManager, LocationManagerDelegate> {
public:
    using Observed::Observed;

    void requestWhenInUseAuthorization() override { object().requestWhenInUseAuthorization(); }
    void startUpdatingLocation() override { object().startUpdatingLocation(); }
    void stopUpdatingLocation() override { object().stopUpdatingLocation(); }

    void locationManagerDidChangeAuthorizationStatus(LocationManager& /*manager*/,
                                                     LocationAuthorizationStatus status) override {
        report([&](auto& observer) { observer.locationDidChangeAuthorization(status); },
               [&](auto& receiver) {
                   receiver.locationManagerDidChangeAuthorizationStatus(*this, status);
               });
    }
    void locationManagerDidUpdateLocations(LocationManager& /*manager*/,
                                           const std::vector<LocationFix>& locations) override {
        report(
            [&](auto& observer) { observer.locationDidUpdate(locations); },
            [&](auto& receiver) { receiver.locationManagerDidUpdateLocations(*this, locations); });
    }
    void locationManagerDidFailWithError(LocationManager& /*manager*/,
                                         const std::string& error) override {
        report([&](auto& observer) { observer.locationDidFail(error); },
               [&](auto& receiver) { receiver.locationManagerDidFailWithError(*this, error); });
    }
};

class ObservedService final : public Observed<NetService, NetServiceDelegate> {
public:
    using Observed::Observed;

    void resolveWithTimeout(double seconds) override { object().resolveWithTimeout(seconds); }
    [[nodiscard]] std::string name() const override { return object().name(); }
    [[nodiscard]] std::string type() const override { return object().type(); }
    [[nodiscard]] std::optional<std::vector<std::string>> addresses() const override {
        return object().addresses();
    }
    [[nodiscard]] std::optional<std::string> TXTRecordData() const override {
        return object().TXTRecordData();
    }
    [[nodiscard]] std::optional<std::string> hostName() const override {
        return object().hostName();
    }
    [[nodiscard]] std::optional<std::string> interface() const override {
        return object().interface();
    }

    void netServiceDidResolveAddress(NetService& service) override {
        report([&](auto& observer) { observer.bonjourDidResolve(service); },
               [&](auto& receiver) { receiver.netServiceDidResolveAddress(*this); });
    }
};

class ObservedBrowser final : public Observed<NetServiceBrowser, NetServiceBrowserDelegate> {
public:
    using Observed::Observed;

    void searchForServicesOfType(const std::string& type, const std::string& domain) override {
        object().searchForServicesOfType(type, domain);
    }

    void netServiceBrowserDidFindService(NetServiceBrowser& /*browser*/,
                                         const std::shared_ptr<NetService>& service,
                                         bool moreComing) override {
        report([&](auto& observer) { observer.bonjourDidFind(*service); },
               [&](auto& receiver) {
                   receiver.netServiceBrowserDidFindService(*this, decorated(service), moreComing);
               });
    }

private:
    /// One decorator for each service however often it is found: the kit tells services by object.
    std::shared_ptr<NetService> decorated(const std::shared_ptr<NetService>& service) const {
        auto known = std::dynamic_pointer_cast<ObservedService>(service->delegate());
        return known ? known : std::make_shared<ObservedService>(service, observer());
    }
};

template <class Decorator, class Object> std::function<std::shared_ptr<Object>()>
decorating(std::function<std::shared_ptr<Object>()> factory,
           std::shared_ptr<PlatformObserver> observer) {
    return [factory = std::move(factory), observer = std::move(observer)] {
        return std::make_shared<Decorator>(factory(), observer);
    };
}

TimerFactory observedTimers(TimerFactory factory, std::shared_ptr<PlatformObserver> observer) {
    return [factory = std::move(factory),
            observer = std::move(observer)](double interval, bool repeats, TimerTick tick) {
        observer->timerDidSchedule();
        return factory(interval, repeats, [observer, tick = std::move(tick)](Timer& timer) {
            observer->timerWillFire();
            tick(timer);
        });
    };
}

} // namespace

Linux::PlatformServices observed(Linux::PlatformServices services,
                                 std::shared_ptr<PlatformObserver> observer) {
    services.bluetoothManagerFactory =
        decorating<ObservedBluetoothManager>(std::move(services.bluetoothManagerFactory), observer);
    services.locationManagerFactory =
        decorating<ObservedLocationManager>(std::move(services.locationManagerFactory), observer);
    services.netServiceBrowserFactory =
        decorating<ObservedBrowser>(std::move(services.netServiceBrowserFactory), observer);
    services.timerFactory = observedTimers(std::move(services.timerFactory), std::move(observer));
    return services;
}

std::shared_ptr<void> observeNetwork(std::shared_ptr<PlatformObserver> observer) {
    auto services = Linux::ProcessServices::current();
    // The kit asks for the address first, and for the networks right after it.
    const auto address = std::make_shared<std::optional<std::string>>();
    services.addressIPv4 = [query = services.addressIPv4, address] { return *address = query(); };
    services.availableNetworks = [query = services.availableNetworks, address,
                                  observer = std::move(observer)] {
        auto joined = query();
        observer->networkDidAnswer(*address, joined);
        return joined;
    };
    return services.install();
}

} // namespace Ambrel
