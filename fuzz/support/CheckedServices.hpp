#ifndef AMBREL_FUZZ_SUPPORT_CHECKEDSERVICES_HPP
#define AMBREL_FUZZ_SUPPORT_CHECKEDSERVICES_HPP

#include "AmbrelKit/Internal/Extensions/JSONEncoder.hpp"
#include "AmbrelKit/Internal/Logic/NearbyDevicesProvider.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "fuzz/support/Bytes.hpp"

#include <arpa/inet.h>
#include <nlohmann/json.hpp>

/// Searches for services of a type by the kit's provider, and checks what is found.
class CheckedServices {
public:
    CheckedServices(const std::string& type, AmbrelKit::NetServiceBrowserFactory factory)
        : provider_(std::make_shared<AmbrelKit::NearbyDevicesProvider>(std::vector{type},
                                                                       std::move(factory))),
          receiver_(std::make_shared<Receiver>()) {
        provider_->setDelegate(receiver_);
        provider_->start();
    }

    /// Its encoded form is writable, so that every text is UTF-8; an address is one.
    static void checkDevice(const AmbrelKit::NearbyDevice& device) {
        const auto dictionary = AmbrelKit::JSONEncoder::serialize(device);
        check(dictionary.has_value());
        AmbrelKit::writeJSON(*dictionary);
        in_addr address{};
        check(!device.addressIPv4 ||
              inet_pton(AF_INET, std::string(device.addressIPv4->string()).c_str(), &address) == 1);
    }

private:
    struct Receiver final : AmbrelKit::NearbyDevicesProviderDelegate {
        void didFindNearbyDevice(const AmbrelKit::NearbyDevice& device) override {
            checkDevice(device);
        }
    };

    std::shared_ptr<AmbrelKit::NearbyDevicesProvider> provider_;
    std::shared_ptr<Receiver> receiver_;
};

#endif
