#ifndef AMBRELKIT_LINUX_LIBRARIES_SYSTEMD_HPP
#define AMBRELKIT_LINUX_LIBRARIES_SYSTEMD_HPP

#include "AmbrelKit/Linux/Libraries/LateLibrary.hpp"

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>
#include <systemd/sd-id128.h>
#include <systemd/sd-login.h>

namespace AmbrelKit::Linux {

/// The event loop and the bus.
inline constexpr LateLibrary systemdLibrary{"libsystemd.so.0"};

AMBRELKIT_LATE(systemdLibrary, sd_bus_add_match);
AMBRELKIT_LATE(systemdLibrary, sd_bus_add_match_async);
AMBRELKIT_LATE(systemdLibrary, sd_bus_attach_event);
AMBRELKIT_LATE(systemdLibrary, sd_bus_call_async);
AMBRELKIT_LATE(systemdLibrary, sd_bus_close_unref);
AMBRELKIT_LATE(systemdLibrary, sd_bus_detach_event);
AMBRELKIT_LATE(systemdLibrary, sd_bus_error_has_name);
// By its type: the declaration's has an attribute, that a null ends the names.
inline constinit const LateFunction<systemdLibrary, int(const sd_bus_error*, ...)>
    sd_bus_error_has_names_sentinel{"sd_bus_error_has_names_sentinel"};
AMBRELKIT_LATE(systemdLibrary, sd_bus_is_open);
AMBRELKIT_LATE(systemdLibrary, sd_bus_is_ready);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_append);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_enter_container);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_exit_container);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_get_bus);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_get_error);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_get_member);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_get_path);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_get_sender);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_get_signature);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_is_method_error);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_is_signal);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_new_method_call);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_peek_type);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_read);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_read_array);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_read_basic);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_rewind);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_set_auto_start);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_set_expect_reply);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_skip);
AMBRELKIT_LATE(systemdLibrary, sd_bus_message_unref);
AMBRELKIT_LATE(systemdLibrary, sd_bus_open_system);
AMBRELKIT_LATE(systemdLibrary, sd_bus_path_decode);
AMBRELKIT_LATE(systemdLibrary, sd_bus_send);
AMBRELKIT_LATE(systemdLibrary, sd_bus_slot_set_destroy_callback);
AMBRELKIT_LATE(systemdLibrary, sd_bus_slot_set_floating);
AMBRELKIT_LATE(systemdLibrary, sd_bus_slot_unref);
AMBRELKIT_LATE(systemdLibrary, sd_event_add_defer);
AMBRELKIT_LATE(systemdLibrary, sd_event_add_io);
AMBRELKIT_LATE(systemdLibrary, sd_event_add_time);
AMBRELKIT_LATE(systemdLibrary, sd_event_dispatch);
AMBRELKIT_LATE(systemdLibrary, sd_event_get_fd);
AMBRELKIT_LATE(systemdLibrary, sd_event_new);
AMBRELKIT_LATE(systemdLibrary, sd_event_prepare);
AMBRELKIT_LATE(systemdLibrary, sd_event_run);
AMBRELKIT_LATE(systemdLibrary, sd_event_source_disable_unref);
AMBRELKIT_LATE(systemdLibrary, sd_event_source_set_enabled);
AMBRELKIT_LATE(systemdLibrary, sd_event_source_set_io_events);
AMBRELKIT_LATE(systemdLibrary, sd_event_source_set_time);
AMBRELKIT_LATE(systemdLibrary, sd_event_unref);
AMBRELKIT_LATE(systemdLibrary, sd_event_wait);
AMBRELKIT_LATE(systemdLibrary, sd_id128_get_boot_app_specific);
AMBRELKIT_LATE(systemdLibrary, sd_id128_get_machine_app_specific);
AMBRELKIT_LATE(systemdLibrary, sd_pid_get_user_unit);

} // namespace AmbrelKit::Linux

#endif
