#ifndef AMBRELKIT_STATUS_H
#define AMBRELKIT_STATUS_H

/// @file
/// What this machine shows of its permissions and of its sources: a part of <ambrelkit.h>, which
/// includes this.

#include <ambrelkit.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Who is told of changes.
typedef struct ambrel_observer {
    /// `sizeof` the struct, by the initializer.
    size_t size;
    /// Handed to each callback.
    void* context;
    /// The context is not used any more. May be NULL.
    void (*destroy)(void* context);
    /// Something has become another; called from the loop, once for all that came together. May be
    /// NULL.
    int (*changed)(void* context);
} ambrel_observer;

/// A struct with its size, and else zero.
#define AMBREL_OBSERVER_INIT                                                                       \
    { sizeof(ambrel_observer), NULL, NULL, NULL }

// ---- The machine's own answers ----

/// What follows the machine's own answers: counted, of one thread.
typedef struct ambrel_host_status ambrel_host_status;

/// Follows what this machine shows of the permissions and settings, for hosts that want no better
/// answers of their own. No daemon is started, no device looked for, no user asked; what is not
/// known yet is unknown, so that a host makes it some time ahead of its first collection.
/// `observer` may be NULL; it is copied. The thread's loop drives it. -EMFILE, -ELIBACC and the
/// like when there is no loop.
AMBREL_API int ambrel_host_status_new(const ambrel_observer* observer, ambrel_host_status** status,
                                      ambrel_error* error);
/// One reference more; gives it back.
AMBREL_API ambrel_host_status* ambrel_host_status_ref(ambrel_host_status* status);
/// The last one ends it: `changed` is not called any more.
AMBREL_API ambrel_host_status* ambrel_host_status_unref(ambrel_host_status* status);

/// What is known of a question now; AMBREL_STATUS_UNKNOWN for one that is none, or without an
/// object.
AMBREL_API int64_t ambrel_host_status_get(const ambrel_host_status* status, int question);

// ---- How the sources fare ----

/// The sources. Later versions may have others.
enum {
    AMBREL_SOURCE_BLUETOOTH = 0, ///< peripherals
    AMBREL_SOURCE_SERVICES = 1,  ///< DNS-SD services
    AMBREL_SOURCE_LOCATION = 2,  ///< fixes
    AMBREL_SOURCE_ADDRESS = 3,   ///< the IPv4 address
    AMBREL_SOURCE_WIFI = 4,      ///< the joined networks
    AMBREL_SOURCE_LIFECYCLE = 5, ///< sleep, resumes and sessions
    AMBREL_SOURCE_COUNT = 6      ///< how many this version has
};

/// What a source does now. Later versions may have others.
enum {
    AMBREL_SOURCE_IDLE = 0,      ///< nobody asks it
    AMBREL_SOURCE_STARTING = 1,  ///< it is asked, and cannot tell yet whether it will listen
    AMBREL_SOURCE_LISTENING = 2, ///< what is there to be reported is reported
    AMBREL_SOURCE_UNAVAILABLE =
        3, ///< what it needs is not there: an adapter, a daemon, the bus, an interface
    AMBREL_SOURCE_OFF = 4,     ///< what it needs is there, and switched off or blocked
    AMBREL_SOURCE_REFUSED = 5, ///< the bus, the daemon or its user does not let this program
    AMBREL_SOURCE_LEFT_OUT = 6 ///< it is not in this build
};

/// How a source fared in the collection that runs, else in the last one.
enum {
    AMBREL_OUTCOME_NOT_ASKED = 0,   ///< the host does not permit it, or the mode does not need it
    AMBREL_OUTCOME_LISTENED = 1,    ///< and missed nothing from when it began to
    AMBREL_OUTCOME_INTERRUPTED = 2, ///< it listened, was away, and came back
    AMBREL_OUTCOME_FAILED = 3       ///< it never listened, or was away when the collection ended;
                                    ///< what is left out of the build fails also where the host
                                    ///< does not permit it
};

/// What follows how the sources fare: counted, of one thread.
typedef struct ambrel_source_reports ambrel_source_reports;

/// How the sources of the thread's loop fare, whichever kit uses them: what they know anyway; no
/// daemon is asked. `observer` may be NULL, and is copied; it is told of states, not of counts.
/// -EMFILE, -ELIBACC and the like when there is no loop.
AMBREL_API int ambrel_source_reports_new(const ambrel_observer* observer,
                                         ambrel_source_reports** reports, ambrel_error* error);
/// One reference more; gives it back.
AMBREL_API ambrel_source_reports* ambrel_source_reports_ref(ambrel_source_reports* reports);
/// The last one ends it: `changed` is not called any more.
AMBREL_API ambrel_source_reports* ambrel_source_reports_unref(ambrel_source_reports* reports);

/// The state of a source now, AMBREL_SOURCE_…; -EINVAL for a source that is none, or
/// without an object.
AMBREL_API int ambrel_source_reports_state(const ambrel_source_reports* reports, int source);
/// The same of its outcome in the collection that runs, else the last one, AMBREL_OUTCOME_….
AMBREL_API int ambrel_source_reports_outcome(const ambrel_source_reports* reports, int source);

/// All that is known now, as a JSON object in `json`, to be freed by `ambrel_free`, and its length
/// in `length`, which may be NULL: when the collection began that runs, else the last one, what
/// each source did in it, and what it does now; docs/outcome.schema.json describes it.
AMBREL_API int ambrel_source_reports_json(const ambrel_source_reports* reports, char** json,
                                          size_t* length, ambrel_error* error);

/// What people should know of the source's collection, in one printable line, such as "hci0 is
/// switched off: bluetoothctl power on", in `text`, to be freed by `ambrel_free`; empty when it
/// listened throughout, but for moments within a tenth of a second, or was not asked.
AMBREL_API int ambrel_source_reports_shortfall(const ambrel_source_reports* reports, int source,
                                               char** text, ambrel_error* error);

#ifdef __cplusplus
}
#endif

#endif
