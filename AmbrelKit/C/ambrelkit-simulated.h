#ifndef AMBRELKIT_SIMULATED_H
#define AMBRELKIT_SIMULATED_H

/// @file
/// A platform on which nothing happens but what it is told, in virtual time: for tests of hosts and
/// of bindings, and to run replay scripts. In a library of its own, ambrelkit-simulated.
/// <ambrelkit.h> says what holds for all functions.
///
///     ambrel_simulated *platform = NULL;
///     ambrel_kit *kit = NULL;
///     ambrel_simulated_new(NULL, &platform, NULL);
///     ambrel_simulated_kit_new(platform, NULL, &kit, NULL);
///     ambrel_kit_set_delegate(kit, &delegate, NULL); // one that grants Bluetooth
///     ambrel_kit_start_scanning_once(kit, NULL);
///     ambrel_simulated_feed(platform, event, strlen(event), NULL); // {"bluetooth": {"state": 5}}
///     ambrel_simulated_advance(platform, 11000000000, NULL); // the delegate has its dictionary

#include <ambrelkit.h>

#ifdef __cplusplus
extern "C" {
#endif

/// A simulated platform: counted, of one thread.
typedef struct ambrel_simulated ambrel_simulated;

/// How a simulated platform begins.
typedef struct ambrel_simulated_options {
    /// `sizeof` the struct, by the initializer.
    size_t size;
    /// The wall clock at virtual time 0, in nanoseconds since 1970.
    int64_t start;
    /// The UUIDs that the kit gets for its records, in order, with NULL at the end. After them, and
    /// without them, it gets 00000000-0000-4000-8000-000000000001 and so on.
    const char* const* identifiers;
} ambrel_simulated_options;

/// A struct with its size, and else zero.
#define AMBREL_SIMULATED_OPTIONS_INIT                                                              \
    { sizeof(ambrel_simulated_options), 0, NULL }

/// A platform, at virtual time 0; `options` may be NULL. While it lives, the settings of the
/// process are its own: the reuse threshold (30 again), the clock, the identifiers and the state of
/// the network; when it goes, they are what they were before. So there may be several, of which the
/// newest counts, and they may go in any order, but kits on different ones, or on the machine's
/// own, must not run at once. -EINVAL for a text that is no UUID.
AMBREL_API int ambrel_simulated_new(const ambrel_simulated_options* options,
                                    ambrel_simulated** platform, ambrel_error* error);
/// One reference more; gives it back. On the thread of the objects.
AMBREL_API ambrel_simulated* ambrel_simulated_ref(ambrel_simulated* platform);
/// Kits may outlive the platform; nothing happens to them any more. In a callback it lives until
/// that has returned.
AMBREL_API ambrel_simulated* ambrel_simulated_unref(ambrel_simulated* platform);

/// A kit on this platform that looks for the DNS-SD types in the list, which ends with NULL and is
/// copied; NULL for none.
AMBREL_API int ambrel_simulated_kit_new(ambrel_simulated* platform,
                                        const char* const* service_types, ambrel_kit** kit,
                                        ambrel_error* error);

/// Has something happen on the platform, now. `json` is an object of at most 16 MiB with one of the
/// keys that a step of a replay script may have (docs/replay.md), but "host", "onDelivery",
/// "statuses" and "end", which are the caller's own business, and without its "at":
///
///     {"bluetooth": {"state": 5}}
///     {"bluetooth": {"discover": {"identifier": "C0FFEE00-0000-4000-8000-000000000001"}}}
///     {"bonjour": {"found": {"type": "_ipp._tcp.", "name": "Printer"}}}
///     {"bonjour": {"resolved": {"type": "_ipp._tcp.", "name": "Printer",
///                               "addresses": ["10020277c00002090000000000000000"]}}}
///     {"location": {"update": [{"latitude": 60.1, "longitude": 24.9, "timestamp": 1700000000}]}}
///     {"location": {"authorization": 4}}, {"location": {"fail": "no signal"}}
///     {"network": {"interfaces": [{"name": "en0", "address": "192.0.2.9"}]}}
///     {"network": {"captive": {"supported": ["en0"], "info": {"SSID": "Home"}}}}
///     {"clock": {"offset": -3600}}
///     {"application": "didBecomeActive"}, {"application": {"expire": 1}}
///
/// Returns when the kits have dealt with it; what they call back fails here. -EBADMSG with
/// AMBREL_ERROR_DOMAIN_SCRIPT when it is none of these; -ERANGE where the wall clock would leave
/// what 64 bits hold.
AMBREL_API int ambrel_simulated_feed(ambrel_simulated* platform, const char* json, size_t length,
                                     ambrel_error* error);

/// Lets time pass: the timers that are due run in their order, each at its time; what they call
/// back fails here, and time stands still then. `duration`, in nanoseconds, is at least 0; -ERANGE
/// where it, or the wall clock, would leave what 64 bits hold. Called from inside itself it lets
/// further time pass.
AMBREL_API int ambrel_simulated_advance(ambrel_simulated* platform, int64_t duration,
                                        ambrel_error* error);

/// The virtual time, in nanoseconds since the platform was made; 0 without a platform.
AMBREL_API int64_t ambrel_simulated_now(const ambrel_simulated* platform);

/// How the sources of this platform fare, as `ambrel_source_reports_new` makes them of the
/// machine's. `changed` is called when time is advanced next, also by nothing, and once more for
/// what it changes itself: one that does so each time keeps time from passing. They may outlive the
/// platform.
AMBREL_API int ambrel_simulated_source_reports_new(ambrel_simulated* platform,
                                                   const ambrel_observer* observer,
                                                   ambrel_source_reports** reports,
                                                   ambrel_error* error);

/// What is known of a source at a time. Texts are copied; NULL is the empty text.
typedef struct ambrel_source_condition {
    /// `sizeof` the struct, by the initializer.
    size_t size;
    const char* means;  ///< by what it listens: "BlueZ, hci0"
    const char* code;   ///< of the reason, for programs
    const char* reason; ///< what stands in the way
    const char* remedy; ///< what would help
    int32_t state;      ///< AMBREL_SOURCE_IDLE to AMBREL_SOURCE_LEFT_OUT
    int32_t reserved;   ///< 0
} ambrel_source_condition;

/// A struct with its size, and else zero: idle.
#define AMBREL_SOURCE_CONDITION_INIT                                                               \
    { sizeof(ambrel_source_condition), NULL, NULL, NULL, NULL, 0, 0 }

/// Has the source be in this condition, whatever happens on the platform; NULL has it fare by
/// itself again. -EINVAL for a source or a state that is none.
AMBREL_API int ambrel_simulated_impose(ambrel_simulated* platform, int source,
                                       const ambrel_source_condition* condition,
                                       ambrel_error* error);

/// Who receives the trace of a replay.
typedef struct ambrel_trace {
    /// `sizeof` the struct, by the initializer.
    size_t size;
    /// Handed to each callback.
    void* context;
    /// The context is not used any more. May be NULL.
    void (*destroy)(void* context);
    /// The kit has done something: a line of the trace (docs/replay.md), one JSON object and a line
    /// feed, `length` bytes in all, valid until this returns. It may come while objects go: call
    /// nothing of this library here.
    void (*line)(void* context, const char* text, size_t length);
} ambrel_trace;

/// A struct with its size, and else zero.
#define AMBREL_TRACE_INIT                                                                          \
    { sizeof(ambrel_trace), NULL, NULL, NULL }

/// Tells `trace` from now on what the kits ask of this platform, NULL nobody. The struct is copied.
/// What the kits ask of their delegates is no part of it.
AMBREL_API int ambrel_simulated_set_trace(ambrel_simulated* platform, const ambrel_trace* trace,
                                          ambrel_error* error);

/// What is written of a replay.
enum {
    AMBREL_REPLAY_QUERIES = 1, ///< the questions that the host's delegate is asked, too
    AMBREL_REPLAY_QUIET = 2    ///< nothing but the delivered dictionaries
};

/// Runs a whole replay script (docs/replay.md) on a platform and a host of its own, and tells
/// `trace` what the kit did, all before it returns: time is virtual. Meanwhile
/// the settings of the process are the script's own, so that no other kit may collect. `flags` are
/// some of the above, or 0. -EBADMSG with AMBREL_ERROR_DOMAIN_SCRIPT when a line is wrong: the
/// steps before it have run.
AMBREL_API int ambrel_replay(const char* script, size_t length, unsigned flags,
                             const ambrel_trace* trace, ambrel_error* error);

#ifdef __cplusplus
}
#endif

#endif
