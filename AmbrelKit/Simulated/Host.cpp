#include "AmbrelKit/Simulated/Host.hpp"

#include <nlohmann/json.hpp>
#include <utility>

namespace AmbrelKit::Simulated {

/// What every delegate object of one host goes by.
struct Host::Answers {
    std::array<AmbrelPermissionStatus, statusQueryNames.size()> statuses{};
    std::function<void(const JSONDictionary&)> deliveryHandler;
    std::function<void(StatusQuery)> queryHandler;
};

class Host::Delegate final : public AmbrelSDKDelegate {
public:
    Delegate(std::shared_ptr<Context> context, std::shared_ptr<Answers> answers)
        : context_(std::move(context)), answers_(std::move(answers)) {}

    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override {
        context_->report("delegate", "didReceiveUpdateWithCollectedData", {{"data", &data}});
        if (const auto handler = answers_->deliveryHandler) {
            handler(data);
        }
    }

    AmbrelPermissionStatus bluetoothSettingStatus() override {
        return answer(StatusQuery::bluetoothSetting);
    }
    AmbrelPermissionStatus bluetoothPermissionStatus() override {
        return answer(StatusQuery::bluetoothPermission);
    }
    AmbrelPermissionStatus locationSettingStatus() override {
        return answer(StatusQuery::locationSetting);
    }
    AmbrelPermissionStatus locationPermissionStatus() override {
        return answer(StatusQuery::locationPermission);
    }
    AmbrelPermissionStatus locationPrecisePermissionStatus() override {
        return answer(StatusQuery::locationPrecisePermission);
    }
    AmbrelPermissionStatus networkSettingStatus() override {
        return answer(StatusQuery::networkSetting);
    }
    AmbrelPermissionStatus networkPermissionStatus() override {
        return answer(StatusQuery::networkPermission);
    }

private:
    AmbrelPermissionStatus answer(StatusQuery query) {
        const auto index = static_cast<std::size_t>(query);
        context_->report("delegate", statusQueryNames[index]);
        if (const auto handler = answers_->queryHandler) {
            handler(query);
        }
        return answers_->statuses[index];
    }

    std::shared_ptr<Context> context_;
    std::shared_ptr<Answers> answers_;
};

Host::Host(Platform& platform, std::optional<std::vector<std::string>> bonjourServices)
    : platform_(platform), bonjourServices_(std::move(bonjourServices)),
      answers_(std::make_shared<Answers>()) {
    create();
}

Host::~Host() = default;

void Host::release() { sdk_.reset(); }

void Host::create() {
    release();
    sdk_ = platform_.createSDK(bonjourServices_);
    attachDelegate();
}

void Host::attachDelegate() {
    if (!delegate_) {
        delegate_ = std::make_shared<Delegate>(platform_.context(), answers_);
    }
    if (sdk_) {
        sdk_->setDelegate(delegate_);
    }
}

void Host::detachDelegate() {
    if (sdk_) {
        sdk_->setDelegate({});
    }
}

void Host::releaseDelegate() {
    const std::weak_ptr<Delegate> released = std::exchange(delegate_, nullptr);
    if (!released.expired()) { // its caller holds it, and a weak reference would still find it
        detachDelegate();
    }
}

void Host::setStatus(StatusQuery query, AmbrelPermissionStatus status) {
    answers_->statuses.at(static_cast<std::size_t>(query)) = status;
}

void Host::setDeliveryHandler(std::function<void(const JSONDictionary&)> handler) {
    answers_->deliveryHandler = std::move(handler);
}

void Host::setQueryHandler(std::function<void(StatusQuery)> handler) {
    answers_->queryHandler = std::move(handler);
}

} // namespace AmbrelKit::Simulated
