// This machine's platform, whose reports to the kit a listener of the host's hears as they come.
// The kit itself delivers once, at the end.
#ifndef OVERHEARD_HPP
#define OVERHEARD_HPP

#include <AmbrelKit/Linux/PlatformServices.hpp>
#include <AmbrelKit/Linux/ProcessServices.hpp>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Is told before the kit is.
class Listener {
public:
    virtual ~Listener() = default;

    virtual void collectionBegan() = 0;
    virtual void heard(const AmbrelKit::Peripheral& peripheral, int rssi) = 0;
    virtual void found(const AmbrelKit::NetService& service) = 0;
    virtual void located(const AmbrelKit::LocationFix& fix) = 0;
    virtual void connected(const std::optional<std::string>& address,
                           const std::vector<AmbrelKit::Linux::JoinedNetwork>& networks) = 0;
};

namespace Overheard {

using namespace AmbrelKit;

/// Stands between an object of the platform, whose delegate it is, and the kit's delegate.
template <class Object, class Delegate> class Between
    : public Object,
      public Delegate,
      public std::enable_shared_from_this<Between<Object, Delegate>> {
public:
    Between(std::shared_ptr<Object> object, std::shared_ptr<Listener> listener)
        : object_(std::move(object)), listener_(std::move(listener)) {}

    std::shared_ptr<Delegate> delegate() const override { return kit_.lock(); }
    void setDelegate(std::weak_ptr<Delegate> kit) override {
        kit_ = std::move(kit);
        object_->setDelegate(this->weak_from_this());
    }

protected:
    /// The kit may let go of this object inside a report.
    template <class Report> void pass(Report report) {
        const auto keep = this->shared_from_this();
        if (const auto kit = kit_.lock()) {
            report(*kit);
        }
    }

    const std::shared_ptr<Object> object_;
    const std::shared_ptr<Listener> listener_;

private:
    std::weak_ptr<Delegate> kit_;
};

class Radio final : public Between<BluetoothCentralManager, BluetoothCentralManagerDelegate> {
public:
    using Between::Between;

    BluetoothManagerState state() const override { return object_->state(); }
    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& services,
                                        const std::optional<JSONDictionary>& options) override {
        object_->scanForPeripheralsWithServices(services, options);
    }
    void stopScan() override { object_->stopScan(); }

    void centralManagerDidUpdateState(BluetoothCentralManager& /*manager*/) override {
        pass([&](auto& kit) { kit.centralManagerDidUpdateState(*this); });
    }
    void centralManagerDidDiscoverPeripheral(BluetoothCentralManager& /*manager*/,
                                             const Peripheral& peripheral,
                                             const JSONDictionary& data, int rssi) override {
        listener_->heard(peripheral, rssi);
        pass([&](auto& kit) {
            kit.centralManagerDidDiscoverPeripheral(*this, peripheral, data, rssi);
        });
    }
};

class Locator final : public Between<LocationManager, LocationManagerDelegate> {
public:
    using Between::Between;

    void requestWhenInUseAuthorization() override { object_->requestWhenInUseAuthorization(); }
    void startUpdatingLocation() override { object_->startUpdatingLocation(); }
    void stopUpdatingLocation() override { object_->stopUpdatingLocation(); }

    void locationManagerDidChangeAuthorizationStatus(LocationManager& /*manager*/,
                                                     LocationAuthorizationStatus status) override {
        pass([&](auto& kit) { kit.locationManagerDidChangeAuthorizationStatus(*this, status); });
    }
    void locationManagerDidUpdateLocations(LocationManager& /*manager*/,
                                           const std::vector<LocationFix>& fixes) override {
        listener_->located(fixes.back());
        pass([&](auto& kit) { kit.locationManagerDidUpdateLocations(*this, fixes); });
    }
    void locationManagerDidFailWithError(LocationManager& /*manager*/,
                                         const std::string& error) override {
        pass([&](auto& kit) { kit.locationManagerDidFailWithError(*this, error); });
    }
};

class Service final : public Between<NetService, NetServiceDelegate> {
public:
    using Between::Between;

    void resolveWithTimeout(double seconds) override { object_->resolveWithTimeout(seconds); }
    std::string name() const override { return object_->name(); }
    std::string type() const override { return object_->type(); }
    std::optional<std::vector<std::string>> addresses() const override {
        return object_->addresses();
    }
    std::optional<std::string> TXTRecordData() const override { return object_->TXTRecordData(); }
    std::optional<std::string> hostName() const override { return object_->hostName(); }
    std::optional<std::string> interface() const override { return object_->interface(); }

    void netServiceDidResolveAddress(NetService& /*service*/) override {
        listener_->found(*this);
        pass([&](auto& kit) { kit.netServiceDidResolveAddress(*this); });
    }
};

class Browser final : public Between<NetServiceBrowser, NetServiceBrowserDelegate> {
public:
    using Between::Between;

    void searchForServicesOfType(const std::string& type, const std::string& domain) override {
        object_->searchForServicesOfType(type, domain);
    }

    void netServiceBrowserDidFindService(NetServiceBrowser& /*browser*/,
                                         const std::shared_ptr<NetService>& service,
                                         bool moreComing) override {
        // The kit tells services by object: one that is found again is the one it knows.
        auto known = std::dynamic_pointer_cast<NetService>(service->delegate());
        if (!known) {
            known = std::make_shared<Service>(service, listener_);
            listener_->found(*known);
        }
        pass([&](auto& kit) { kit.netServiceBrowserDidFindService(*this, known, moreComing); });
    }
};

template <class Overhearing, class Factory>
void overhear(Factory& factory, const std::shared_ptr<Listener>& listener) {
    factory = [factory, listener] { return std::make_shared<Overhearing>(factory(), listener); };
}

/// A kit on this machine's services. What it asks of the network itself is overheard as long as the
/// handle is kept that it comes with.
inline std::pair<std::shared_ptr<AmbrelSDK>, std::shared_ptr<void>>
createKit(const std::shared_ptr<Listener>& listener) {
    auto services = Linux::platformServices();
    overhear<Radio>(services.bluetoothManagerFactory, listener);
    overhear<Locator>(services.locationManagerFactory, listener);
    overhear<Browser>(services.netServiceBrowserFactory, listener);
    // The kit schedules a timer when a collection begins.
    services.timerFactory = [timers = services.timerFactory, listener](auto interval, auto repeats,
                                                                       auto tick) {
        listener->collectionBegan();
        return timers(interval, repeats, tick);
    };
    // At each tick it asks for the address first, and for the networks right after it.
    auto process = Linux::ProcessServices::current();
    const auto address = std::make_shared<std::optional<std::string>>();
    process.addressIPv4 = [query = process.addressIPv4, address] { return *address = query(); };
    process.availableNetworks = [query = process.availableNetworks, address, listener] {
        auto networks = query();
        listener->connected(*address, networks);
        return networks;
    };
    return {Linux::create(std::move(services)), process.install()};
}

} // namespace Overheard

#endif
