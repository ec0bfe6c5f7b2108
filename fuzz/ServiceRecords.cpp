// What a service on the network may have: its names, the bytes of its TXT record and of its socket
// addresses, read into a record of the kit and written as JSON.

#include "AmbrelKit/Linux/NearbyDevices/DNSSDRecords.hpp"
#include "fuzz/support/CheckedServices.hpp"

namespace {

using namespace AmbrelKit;

const std::vector<std::string> words = {"_ipp._tcp", "local", "192.0.2.7", "fe80::1%2", "::"};

struct AnyService final : NetService {
    explicit AnyService(Bytes& input)
        : name_(repairedUTF8(input.text(words))), type_(repairedUTF8(input.text(words))),
          txt_(input.text(words)) {
        for (int count = input.byte() % 8; count > 0; --count) {
            addresses_.push_back(input.text(words));
        }
        for (int blocks = input.byte(); blocks > 0; --blocks) { // a record may be long
            txt_.append(input.take(255));
        }
    }
    [[nodiscard]] std::shared_ptr<NetServiceDelegate> delegate() const override { return {}; }
    void setDelegate(std::weak_ptr<NetServiceDelegate> /*delegate*/) override {}
    void resolveWithTimeout(double /*seconds*/) override {}
    [[nodiscard]] std::string name() const override { return name_; }
    [[nodiscard]] std::string type() const override { return type_; }
    [[nodiscard]] std::optional<std::vector<std::string>> addresses() const override {
        return addresses_;
    }
    [[nodiscard]] std::optional<std::string> TXTRecordData() const override { return txt_; }

private:
    std::string name_;
    std::string type_;
    std::string txt_;
    std::vector<std::string> addresses_;
};

struct Receiver final : NearbyDevicesProviderDelegate {
    void didFindNearbyDevice(const NearbyDevice& device) override {
        CheckedServices::checkDevice(device);
    }
};

/// Avahi's strings make the bytes of a record, which reads as they do.
void checkStrings(Bytes& input) {
    std::vector<std::string> lastFirst;
    while (!input.isEmpty()) {
        lastFirst.push_back(input.text(words));
    }
    const auto record = Linux::txtRecordBytes(lastFirst);
    check(!record.empty());
    const auto entries = NetService::dictionaryFromTXTRecordData(record);
    check(entries.size() <= lastFirst.size());
    for (const auto& [key, value] : entries) {
        check(isValidUTF8(key) && !key.empty() && value.size() < 256);
    }
}

void checkTexts(const std::string& text, std::uint16_t port, int interface) {
    if (const auto type = Linux::avahiServiceType(text)) {
        check(Linux::avahiServiceType(*type + ".") == type &&
              Linux::avahiServiceType(Linux::typeOfInstances(*type)).has_value());
    }
    if (const auto address = Linux::parsedAddress(text)) {
        const auto record = Linux::socketAddressRecord(*address, port, interface);
        check(record.size() == static_cast<unsigned char>(record[0]));
    }
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes input(data, size);
    AnyService service(input);
    const auto receiver = std::make_shared<Receiver>();
    const auto provider = std::make_shared<NearbyDevicesProvider>(std::nullopt, nullptr);
    provider->setDelegate(receiver);
    provider->netServiceDidResolveAddress(service);
    (void)service.port();
    const auto text = input.text(words);
    checkTexts(text.substr(0, text.find('\0')), input.byte(), input.byte());
    checkStrings(input);
    return 0;
}
