#ifndef AMBREL_SERVICETYPES_HPP
#define AMBREL_SERVICETYPES_HPP

#include <string_view>

namespace Ambrel {

/// Whether `text` is a DNS-SD service type that can be browsed: `_name._tcp` or `_name._udp`, or a
/// subtype of one, `_kind._sub._name._tcp`, with or without a trailing dot. The name is a service
/// name of RFC 6335: 1 to 15 letters, digits and single inner hyphens, at least one of them a
/// letter.
bool isServiceType(std::string_view text);

} // namespace Ambrel

#endif
