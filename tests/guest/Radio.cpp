#include "tests/guest/Radio.hpp"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <map>
#include <poll.h>
#include <random>
#include <span>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

constexpr auto period = std::chrono::milliseconds(2500);
constexpr auto silence = std::chrono::milliseconds(200);
constexpr std::uint8_t commandPacket = 0x01;
constexpr std::uint8_t eventPacket = 0x04;
constexpr std::uint8_t vendorPacket = 0xFF;
constexpr std::uint16_t setScanEnable = 0x200C;
constexpr std::uint16_t inquire = 0x0401;
constexpr std::uint16_t cancelInquiry = 0x0402;
constexpr std::uint16_t askForName = 0x0419;

/// What is returned after the status, by command. The controller speaks Bluetooth 4.2.
const std::map<std::uint16_t, Bytes>& answers() {
    static const std::map<std::uint16_t, Bytes> table = [] {
        Bytes commands(64);
        commands[5] = 0xC0;  // Set Event Mask, Reset
        commands[14] = 0xA8; // Read Local Version, Features, Buffer Size
        commands[15] = 0x02; // Read BD_ADDR
        commands[25] = 0xF7; // LE: masks, buffer size, features, random address, advertising
        commands[26] = 0x7F; // LE: advertising, scanning, connecting, filter list
        commands[27] = 0x83; // LE: filter list, encryption, random numbers
        commands[28] = 0x08; // LE: supported states
        Bytes features(8);
        features[3] = 0x40; // inquiry results with RSSI
        features[4] = 0x40; // LE, beside BR/EDR
        return std::map<std::uint16_t, Bytes>{
            {cancelInquiry, {}},
            {0x080F, {}},                                // Write Default Link Policy
            {0x0C05, {}},                                // Set Event Filter
            {0x0C13, {}},                                // Write Local Name
            {0x0C14, Bytes(248)},                        // Read Local Name
            {0x0C16, {}},                                // Write Connection Accept Timeout
            {0x0C1A, {}},                                // Write Scan Enable
            {0x0C1C, {}},                                // Write Page Scan Activity
            {0x0C20, {}},                                // Write Authentication Enable
            {0x0C23, {0, 0, 0}},                         // Read Class of Device
            {0x0C24, {}},                                // Write Class of Device
            {0x0C25, {0x60, 0}},                         // Read Voice Setting
            {0x0C38, {1}},                               // Read Number of Supported IAC
            {0x0C39, {1, 0x33, 0x8B, 0x9E}},             // Read Current IAC LAP
            {0x0C3A, {}},                                // Write Current IAC LAP
            {0x0C45, {}},                                // Write Inquiry Mode
            {0x0C47, {}},                                // Write Page Scan Type
            {0x0C52, {}},                                // Write Extended Inquiry Response
            {0x0C03, {}},                                // Reset
            {0x0C01, {}},                                // Set Event Mask
            {0x0C6D, {}},                                // Write LE Host Supported
            {0x1001, {8, 0, 0, 8, 0xFF, 0xFF, 0, 0}},    // Read Local Version
            {0x1002, commands},                          // Read Local Supported Commands
            {0x1003, features},                          // Read Local Supported Features
            {0x1005, {0x40, 0, 0, 4, 0, 0, 0}},          // Read Buffer Size
            {0x1009, {0x01, 0x00, 0xEE, 0xEE, 0xC0, 2}}, // Read BD_ADDR
            {0x2001, {}},                                // LE Set Event Mask
            {0x2002, {0xFB, 0, 8}},                      // LE Read Buffer Size
            {0x2003, Bytes(8)},                          // LE Read Local Features
            {0x2005, {}},                                // LE Set Random Address
            {0x2006, {}},                                // LE Set Advertising Parameters
            {0x2007, {0}},                               // LE Read Advertising Power
            {0x2008, {}},                                // LE Set Advertising Data
            {0x2009, {}},                                // LE Set Scan Response
            {0x200A, {}},                                // LE Set Advertising Enable
            {0x200B, {}},                                // LE Set Scan Parameters
            {setScanEnable, {}},
            {0x200F, {16}},           // LE Read Filter List Size
            {0x2010, {}},             // LE Clear Filter List
            {0x2018, Bytes(8, 0x5A)}, // LE Rand
            {0x201C, Bytes(8, 0xFF)}, // LE Read Supported States
        };
    }();
    return table;
}

class Controller {
public:
    explicit Controller(int advertisers) : due_(static_cast<std::size_t>(advertisers)) {
        descriptor_ = open("/dev/vhci", O_RDWR);
        send({vendorPacket, 0}); // a primary controller
    }

    void run() {
        std::array<std::uint8_t, 1024> packet{};
        while (true) {
            pollfd ready{descriptor_, POLLIN, 0};
            if (poll(&ready, 1, scanning_ || inquiring_ ? 5 : -1) > 0) {
                const auto length = read(descriptor_, packet.data(), packet.size());
                if (length <= 0) {
                    return;
                }
                received(std::span(packet).first(static_cast<std::size_t>(length)));
            }
            if (scanning_) {
                advertise();
            }
            if (inquiring_ && Clock::now() >= answersDue_) {
                answerInquiry();
            }
        }
    }

private:
    void send(const Bytes& packet) const {
        // Nothing takes an event while the controller is switched off.
        if (write(descriptor_, packet.data(), packet.size()) < 0 && errno != ENXIO) {
            std::perror("/dev/vhci");
            _exit(1);
        }
    }

    void received(std::span<const std::uint8_t> packet) {
        if (packet.size() < 4 || packet[0] != commandPacket) {
            return;
        }
        const auto code = static_cast<std::uint16_t>(packet[1] | packet[2] << 8);
        if (code == inquire || code == askForName) {
            inquiring_ = inquiring_ || code == inquire;
            answersDue_ = Clock::now() + silence;
            const std::uint8_t status = code == inquire ? 0 : 4;           // nobody tells its name
            send({eventPacket, 0x0F, 4, status, 1, packet[1], packet[2]}); // Command Status
            return;
        }
        inquiring_ = inquiring_ && code != cancelInquiry;
        const auto answer = answers().find(code);
        const bool known = answer != answers().end();
        Bytes event{eventPacket, 0x0E, 0, 1, packet[1], packet[2]}; // Command Complete
        event.push_back(known ? 0 : 1);                             // Unknown Command
        if (known) {
            std::ranges::copy(answer->second, std::back_inserter(event));
        }
        event[2] = static_cast<std::uint8_t>(event.size() - 3);
        if (code == setScanEnable && packet.size() > 4) {
            scanning_ = packet[4] != 0;
            spread();
        }
        send(event);
    }

    /// BlueZ drops what is heard before its own start has finished: the first reports wait a
    /// little.
    void spread() {
        const auto first = Clock::now() + silence;
        for (std::size_t i = 0; i < due_.size(); ++i) {
            due_[i] = first + period * i / due_.size();
        }
    }

    void advertise() {
        const auto now = Clock::now();
        for (std::size_t i = 0; i < due_.size(); ++i) {
            if (due_[i] <= now) {
                due_[i] = now + period;
                report(Advertiser::number(static_cast<int>(i)));
            }
        }
    }

    /// Those that are heard over BR/EDR.
    void answerInquiry() {
        inquiring_ = false;
        for (const auto& address : {Advertiser::classic().address, Advertiser::dual().address}) {
            Bytes event{eventPacket, 0x22, 15, 1}; // Inquiry Result with RSSI
            std::ranges::reverse_copy(address, std::back_inserter(event));
            std::ranges::copy(Bytes{0x01, 0, 0x04, 0x04, 0x24, 0, 0, 0xC4},
                              std::back_inserter(event));
            send(event);
        }
        send({eventPacket, 0x01, 1, 0}); // Inquiry Complete
    }

    void report(const Advertiser& advertiser) {
        Bytes data;
        if (advertiser.flags) {
            data = {2, 0x01, 0x06};
        }
        if (!advertiser.name.empty()) {
            data.push_back(static_cast<std::uint8_t>(advertiser.name.size() + 1));
            data.push_back(0x09); // complete local name
            std::ranges::copy(advertiser.name, std::back_inserter(data));
        }
        Bytes event{eventPacket, 0x3E, 0, 0x02, 1, 0, static_cast<std::uint8_t>(advertiser.random)};
        std::ranges::reverse_copy(advertiser.address, std::back_inserter(event));
        event.push_back(static_cast<std::uint8_t>(data.size()));
        std::ranges::copy(data, std::back_inserter(event));
        event.push_back(static_cast<std::uint8_t>(-50 - static_cast<int>(random_() % 20)));
        event[2] = static_cast<std::uint8_t>(event.size() - 3);
        send(event);
    }

    int descriptor_ = -1;
    bool scanning_ = false;
    bool inquiring_ = false;
    Clock::time_point answersDue_;
    std::vector<Clock::time_point> due_;
    std::minstd_rand random_;
};

} // namespace

Advertiser Advertiser::number(int index) {
    Advertiser advertiser;
    advertiser.random = index % 4 != 0;
    const auto high = static_cast<std::uint8_t>(index >> 8);
    const auto low = static_cast<std::uint8_t>(index);
    advertiser.address = {
        advertiser.random ? std::uint8_t{0xC0} : std::uint8_t{0x00}, 0xBE, 0xAD, 0x01, high, low};
    advertiser.flags = index % 8 != 0;
    if (index % 5 != 4) {
        advertiser.name = (index % 3 == 0 ? "Gerät " : "Device ") + std::to_string(index);
        advertiser.name += index % 50 == 1 ? noncharacter : "";
    }
    return advertiser;
}

Advertiser Advertiser::classic() { return {.address = {0, 0xBE, 0xAD, 0x02, 0, 1}}; }

Advertiser Advertiser::dual() { return number(4); }

std::string Advertiser::addressText() const {
    std::array<char, 18> text{};
    std::snprintf(text.data(), text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", address[0], address[1],
                  address[2], address[3], address[4], address[5]);
    return text.data();
}

void Radio::plug() {
    process_ = fork();
    if (process_ < 0) {
        throw std::runtime_error("no process for the radio");
    }
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        Controller(advertisers_).run();
        _exit(0);
    }
}

void Radio::unplug() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        process_ = -1;
    }
}
