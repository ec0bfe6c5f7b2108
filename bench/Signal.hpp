#ifndef AMBRELKIT_BENCH_SIGNAL_HPP
#define AMBRELKIT_BENCH_SIGNAL_HPP

// One of BlueZ's signals that a device is heard again: made by hand, and read by hand.

#include <array>
#include <cstdint>
#include <cstring>
#include <systemd/sd-bus.h>

namespace AmbrelKit::Bench {

/// What follows the interface: the RSSI, and 24 bytes of manufacturer data that begin with
/// `content`.
inline void appendHeard(sd_bus_message* message, std::uint64_t content) {
    constexpr std::uint16_t company = 0x004C;
    std::array<std::uint8_t, 24> data{};
    std::memcpy(data.data(), &content, sizeof content);
    sd_bus_message_open_container(message, 'a', "{sv}");
    sd_bus_message_append(message, "{sv}", "RSSI", "n", -40 - static_cast<int>(content % 50));
    sd_bus_message_open_container(message, 'e', "sv");
    sd_bus_message_append(message, "s", "ManufacturerData");
    sd_bus_message_open_container(message, 'v', "a{qv}");
    sd_bus_message_open_container(message, 'a', "{qv}");
    sd_bus_message_open_container(message, 'e', "qv");
    sd_bus_message_append(message, "q", company);
    sd_bus_message_open_container(message, 'v', "ay");
    sd_bus_message_append_array(message, 'y', data.data(), data.size());
    for (int i = 0; i < 6; ++i) {
        sd_bus_message_close_container(message);
    }
    sd_bus_message_append(message, "as", 0);
}

/// The least that it takes to decode what the kit decodes: each value is read, and only counted.
class PlainReader {
public:
    [[nodiscard]] std::uint64_t content() const { return content_; }

    /// An `a{sv}` of a device's properties.
    void readProperties(sd_bus_message* message) {
        eachEntry(message, "{sv}", "sv", [&] {
            const char* key = nullptr;
            sd_bus_message_read_basic(message, 's', &key);
            if (std::strcmp(key, "RSSI") == 0 || std::strcmp(key, "TxPower") == 0) {
                std::int16_t number = 0;
                sd_bus_message_read(message, "v", "n", &number);
                content_ += static_cast<std::uint64_t>(number);
            } else if (std::strcmp(key, "Name") == 0 || std::strcmp(key, "Address") == 0 ||
                       std::strcmp(key, "AddressType") == 0) {
                const char* text = nullptr;
                sd_bus_message_read(message, "v", "s", &text);
                content_ += std::strlen(text);
            } else if (std::strcmp(key, "ManufacturerData") == 0) {
                readManufacturerData(message);
            } else {
                sd_bus_message_skip(message, "v");
            }
        });
    }

private:
    template <class Read> static void eachEntry(sd_bus_message* message, const char* array,
                                                const char* entry, const Read& read) {
        sd_bus_message_enter_container(message, 'a', array);
        while (sd_bus_message_enter_container(message, 'e', entry) > 0) {
            read();
            sd_bus_message_exit_container(message);
        }
        sd_bus_message_exit_container(message);
    }

    void readManufacturerData(sd_bus_message* message) {
        sd_bus_message_enter_container(message, 'v', "a{qv}");
        eachEntry(message, "{qv}", "qv", [&] {
            std::uint16_t company = 0;
            const void* bytes = nullptr;
            std::size_t size = 0;
            sd_bus_message_read_basic(message, 'q', &company);
            sd_bus_message_enter_container(message, 'v', "ay");
            sd_bus_message_read_array(message, 'y', &bytes, &size);
            content_ += company + size;
            sd_bus_message_exit_container(message);
        });
        sd_bus_message_exit_container(message);
    }

    std::uint64_t content_ = 0;
};

} // namespace AmbrelKit::Bench

#endif
