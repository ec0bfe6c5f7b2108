#ifndef AMBREL_TESTS_SUPPORT_OUTSIDEMAIN_HPP
#define AMBREL_TESTS_SUPPORT_OUTSIDEMAIN_HPP

#include <AmbrelKit/AmbrelSDK.hpp>
#include <AmbrelKit/AmbrelStorage.hpp>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// A host that lives at namespace scope, in the file that the linker sees first: its constructor
/// runs before main where the environment asks for that, its destructor after it. `Machine` makes
/// facades on its platform, lets a collection's time pass, and knows the address.
template <class Machine> class OutsideMain final : public AmbrelKit::AmbrelSDKDelegate {
    using Status = AmbrelKit::AmbrelPermissionStatus;

public:
    OutsideMain() {
        if (std::getenv("AMBREL_TEST_BEFORE_MAIN") != nullptr) {
            collect();
        }
    }
    OutsideMain(const OutsideMain&) = delete;
    OutsideMain& operator=(const OutsideMain&) = delete;

    ~OutsideMain() override {
        kit_->stopScanning();
        collect();
        auto& storage = AmbrelKit::AmbrelStorage::shared();
        storage.save(delivered_.back());
        require(storage.savedCollections().size() == 1, "the collection is not in the store");
        storage.delete_(delivered_.back());
        storage.delete_(delivered_.back()); // reported
        require(delivered_.size() == 2, "something else was delivered");
    }

    void collect() {
        if (!kit_) {
            machine_ = std::make_unique<Machine>();
            kit_ = machine_->create();
            kit_->setDelegate(self_);
            require(!kit_->setAmbrelTimeThreshold(31, nullptr), "any threshold goes");
            kit_->setAmbrelTimeThreshold(0);
        }
        const auto before = delivered_.size();
        kit_->startScanningOnce();
        machine_->passCollection();
        require(delivered_.size() == before + 1, "nothing was delivered");
        const auto& data = delivered_.back();
        const auto ip = data.count("ip") != 0 ? data.at("ip").template get<std::string>() : "";
        require(ip == machine_->address(), "the address is missing");
    }

    [[nodiscard]] bool hasCollected() const { return !delivered_.empty(); }

    void didReceiveUpdateWithCollectedData(const AmbrelKit::JSONDictionary& data) override {
        delivered_.push_back(data);
    }
    Status bluetoothSettingStatus() override { return {}; }
    Status bluetoothPermissionStatus() override { return {}; }
    Status locationSettingStatus() override { return {}; }
    Status locationPermissionStatus() override { return {}; }
    Status locationPrecisePermissionStatus() override { return {}; }
    Status networkSettingStatus() override { return {}; }
    Status networkPermissionStatus() override { return Status::granted; }

private:
    static void require(bool holds, const char* otherwise) {
        if (!holds) {
            std::cerr << otherwise << '\n';
            std::_Exit(1);
        }
    }

    const std::shared_ptr<AmbrelKit::AmbrelSDKDelegate> self_{this, [](auto*) {}};
    std::vector<AmbrelKit::JSONDictionary> delivered_;
    std::unique_ptr<Machine> machine_;
    std::shared_ptr<AmbrelKit::AmbrelSDK> kit_;
};

#endif
