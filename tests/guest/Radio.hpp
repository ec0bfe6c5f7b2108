#ifndef AMBREL_TESTS_GUEST_RADIO_HPP
#define AMBREL_TESTS_GUEST_RADIO_HPP

#include <array>
#include <cstdint>
#include <string>
#include <sys/types.h>

/// A character that some of the names end with, which sd-bus takes in no text.
inline constexpr const char* noncharacter = "\uFFFE";

/// What is made to be heard.
struct Advertiser {
    std::array<std::uint8_t, 6> address{}; ///< as written
    bool random = false;
    std::string name = {}; ///< empty: it advertises none
    bool flags = true;     ///< whether it advertises its flags

    /// The advertiser of this number; all of them differ.
    static Advertiser number(int index);
    /// Heard over BR/EDR alone; and an advertiser that is heard over both.
    static Advertiser classic();
    static Advertiser dual();
    [[nodiscard]] std::string addressText() const;
};

/// A Bluetooth controller of the kernel's virtual HCI, which hears `advertisers` again and again
/// for as long as it is told to scan, and two devices in each inquiry. It runs in a process of its
/// own; the constructor plugs it in.
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
