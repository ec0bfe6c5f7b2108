#ifndef AMBRELKIT_TESTS_GUEST_RADIO_HPP
#define AMBRELKIT_TESTS_GUEST_RADIO_HPP

#include <array>
#include <cstdint>
#include <string>
#include <sys/types.h>

/// What is made to be heard.
struct Advertiser {
    std::array<std::uint8_t, 6> address{}; ///< as written
    bool random = false;
    std::string name; ///< empty: it advertises none

    /// The advertiser of this number; all of them differ.
    static Advertiser number(int index);
    [[nodiscard]] std::string addressText() const;
};

/// A Bluetooth LE controller of the kernel's virtual HCI, which hears `advertisers` again and again
/// for as long as it is told to scan. It runs in a process of its own; the constructor plugs it in.
class Radio {
public:
    explicit Radio(int advertisers) : advertisers_(advertisers) { plug(); }
    ~Radio() { unplug(); }
    Radio(const Radio&) = delete;
    Radio& operator=(const Radio&) = delete;

    void plug();
    void unplug();

private:
    int advertisers_;
    pid_t process_ = -1;
};

#endif
