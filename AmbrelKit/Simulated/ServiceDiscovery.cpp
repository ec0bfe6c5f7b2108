#include "AmbrelKit/Simulated/ServiceDiscovery.hpp"

#include <utility>

namespace AmbrelKit::Simulated {

class ServiceDiscovery::Browser final : public NetServiceBrowser {
public:
    Browser(std::shared_ptr<Context> context, std::shared_ptr<Sources> sources)
        : context_(std::move(context)), source_(std::move(sources), Source::services) {}

    [[nodiscard]] std::shared_ptr<NetServiceBrowserDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<NetServiceBrowserDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }

    void searchForServicesOfType(const std::string& type, const std::string& domain) override {
        context_->report("bonjour", "searchForServicesOfType",
                         {{"type", type}, {"domain", domain}});
        searched_ = type;
        source_.fares({.state = SourceState::listening, .means = "simulated network"});
    }

    [[nodiscard]] bool searches(const std::string& type) const { return searched_ == type; }

private:
    std::shared_ptr<Context> context_;
    Sources::Part source_;
    std::weak_ptr<NetServiceBrowserDelegate> delegate_;
    std::optional<std::string> searched_;
};

class ServiceDiscovery::Service final : public NetService {
public:
    Service(std::shared_ptr<Context> context, std::string type, std::string name)
        : context_(std::move(context)), type_(std::move(type)), name_(std::move(name)) {}

    [[nodiscard]] std::shared_ptr<NetServiceDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<NetServiceDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }

    void resolveWithTimeout(double seconds) override {
        context_->report("bonjour", "resolveWithTimeout",
                         {{"type", type_}, {"name", name_}, {"timeout", seconds}});
    }

    [[nodiscard]] std::string name() const override { return name_; }
    [[nodiscard]] std::string type() const override { return type_; }
    [[nodiscard]] std::optional<std::vector<std::string>> addresses() const override {
        return records_.addresses;
    }
    [[nodiscard]] std::optional<std::string> TXTRecordData() const override { return records_.txt; }
    [[nodiscard]] std::optional<std::string> hostName() const override { return records_.hostName; }
    [[nodiscard]] std::optional<std::string> interface() const override {
        return records_.interface;
    }

    void setRecords(ServiceRecords records) { records_ = std::move(records); }

private:
    std::shared_ptr<Context> context_;
    std::string type_;
    std::string name_;
    std::weak_ptr<NetServiceDelegate> delegate_;
    ServiceRecords records_;
};

ServiceDiscovery::ServiceDiscovery(std::shared_ptr<Context> context,
                                   std::shared_ptr<Sources> sources)
    : context_(std::move(context)), sources_(std::move(sources)) {}

std::shared_ptr<NetServiceBrowser> ServiceDiscovery::makeBrowser() {
    context_->report("bonjour", "create");
    auto browser = std::make_shared<Browser>(context_, sources_);
    browsers_.add(browser);
    return browser;
}

void ServiceDiscovery::reportFound(const std::string& type, const std::string& name) {
    bool told = false;
    browsers_.each([&](Browser& browser) {
        const auto delegate = browser.delegate();
        if (told || !delegate || !browser.searches(type)) {
            return;
        }
        told = true;
        auto& service = services_[type][name];
        if (!service) {
            service = std::make_shared<Service>(context_, type, name);
        }
        const std::shared_ptr<Service> found = service;
        sources_->count(Source::services);
        delegate->netServiceBrowserDidFindService(browser, found, false);
    });
}

void ServiceDiscovery::reportResolved(const std::string& type, const std::string& name,
                                      ServiceRecords records) {
    const auto ofType = services_.find(type);
    if (ofType == services_.end()) {
        return;
    }
    const auto entry = ofType->second.find(name);
    if (entry == ofType->second.end()) {
        return;
    }
    const std::shared_ptr<Service> service = entry->second;
    service->setRecords(std::move(records));
    if (const auto delegate = service->delegate()) {
        sources_->count(Source::services);
        delegate->netServiceDidResolveAddress(*service);
    }
}

} // namespace AmbrelKit::Simulated
