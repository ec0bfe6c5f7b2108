#ifndef AMBRELKIT_LINUX_LIBRARIES_AVAHICORE_HPP
#define AMBRELKIT_LINUX_LIBRARIES_AVAHICORE_HPP

#include "AmbrelKit/Linux/Libraries/LateLibrary.hpp"

#include <avahi-core/core.h>
#include <avahi-core/log.h>
#include <avahi-core/lookup.h>

namespace AmbrelKit::Linux {

/// The embedded mDNS stack, and what that is linked with.
inline constexpr LateLibrary avahiLibrary{"libavahi-core.so.7"};

AMBRELKIT_LATE(avahiLibrary, avahi_af_to_proto);
AMBRELKIT_LATE(avahiLibrary, avahi_s_host_name_resolver_free);
AMBRELKIT_LATE(avahiLibrary, avahi_s_host_name_resolver_prepare);
AMBRELKIT_LATE(avahiLibrary, avahi_s_host_name_resolver_start);
AMBRELKIT_LATE(avahiLibrary, avahi_s_service_browser_free);
AMBRELKIT_LATE(avahiLibrary, avahi_s_service_browser_prepare);
AMBRELKIT_LATE(avahiLibrary, avahi_s_service_browser_start);
AMBRELKIT_LATE(avahiLibrary, avahi_s_service_resolver_free);
AMBRELKIT_LATE(avahiLibrary, avahi_s_service_resolver_prepare);
AMBRELKIT_LATE(avahiLibrary, avahi_s_service_resolver_start);
AMBRELKIT_LATE(avahiLibrary, avahi_server_config_free);
AMBRELKIT_LATE(avahiLibrary, avahi_server_config_init);
AMBRELKIT_LATE(avahiLibrary, avahi_server_free);
AMBRELKIT_LATE(avahiLibrary, avahi_server_new);
AMBRELKIT_LATE(avahiLibrary, avahi_set_log_function);
AMBRELKIT_LATE(avahiLibrary, avahi_string_list_get_next);
AMBRELKIT_LATE(avahiLibrary, avahi_string_list_get_size);
AMBRELKIT_LATE(avahiLibrary, avahi_string_list_get_text);

} // namespace AmbrelKit::Linux

#endif
