#ifndef AMBRELKIT_LINUX_NETWORK_ASSOCIATION_HPP
#define AMBRELKIT_LINUX_NETWORK_ASSOCIATION_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace AmbrelKit::Linux {

/// The Wi-Fi network that an interface is joined to.
struct Association {
    /// Its name: any bytes up to 32, so ill-formed UTF-8 has been repaired. Nothing when the access
    /// point hides it and the kernel has not heard it otherwise.
    std::optional<std::string> ssid;
    std::string bssid;                      ///< the access point's address, as "02:00:5e:10:00:ff"
    std::optional<std::uint32_t> frequency; ///< the access point's, in MHz
};

/// Finds the network that an interface is joined to among the kernel's scan results of it. They are
/// what the kernel remembers, and of each access point what that sent: any bytes.
class AssociationSearch {
public:
    /// Takes the payload of one NL80211_ATTR_BSS. The results may come in any order.
    void add(std::span<const std::byte> attributes);

    [[nodiscard]] std::optional<Association> result() const;

private:
    using Address = std::array<std::uint8_t, 6>;

    std::optional<Address> joined_;
    std::optional<std::uint32_t> frequency_; ///< of the joined one
    /// By access point. One that hides its name is listed twice where it was also heard by name.
    std::map<Address, std::string> names_;
};

} // namespace AmbrelKit::Linux

#endif
