#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_DNSSDRECORDS_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_DNSSDRECORDS_HPP

#include <cstdint>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace AmbrelKit::Linux {

using HostAddress = std::variant<in_addr, in6_addr>;

/// A service type as Avahi takes it, from one with or without a trailing dot. Absent when it is not
/// `_name._tcp` or `_name._udp`, nor a subtype of one, such as `_printer._sub._http._tcp`.
std::optional<std::string> avahiServiceType(std::string_view type);

/// Of what `avahiServiceType` has made, the type that the instances have which it finds: a
/// subtype's is the one that it narrows.
std::string typeOfInstances(std::string_view type);

/// Whether DNS takes the names for one: the case of ASCII letters does not count.
bool isSameName(std::string_view name, std::string_view other);

/// A domain as Avahi takes it, without a trailing dot.
std::string avahiDomain(std::string_view domain);

/// A TXT record's bytes in wire order. Avahi hands out the strings last first, and leaves out empty
/// ones.
std::string txtRecordBytes(const std::vector<std::string>& lastFirst);

/// The address in its text form, as Avahi's D-Bus interface writes it.
std::optional<HostAddress> parsedAddress(const std::string& text);

/// A socket address record in the BSD layout. `interface` is the scope of a link-local address.
std::string socketAddressRecord(const HostAddress& address, std::uint16_t port, int interface);

} // namespace AmbrelKit::Linux

#endif
