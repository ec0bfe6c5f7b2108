#ifndef AMBRELKIT_H
#define AMBRELKIT_H

/// @file
/// AmbrelKit for C and every language that calls C: a ten-second snapshot of what surrounds the
/// device, as one JSON object.
///
/// What holds for all of it (docs/abi.md says what stays as it is, and for how long):
///
/// Threads. All objects that a process has at a time live on one thread, the one that made the
/// first; everything but the store and the version is used there, which a debug build of the
/// library asserts. Nothing locks, blocks or polls. A forked child may only give back what it
/// inherited.
///
/// Results. A function that can fail returns a negative errno then, and has an `error` at its end
/// that says more; it may be NULL. A function that failed has changed nothing, unless it says
/// otherwise. Where a pointer to an object or a struct is wanted, NULL is -EINVAL, unless it says
/// otherwise; -ENOMEM is always possible.
///
/// Text is UTF-8 and ends with a zero byte. JSON text has its length beside it; where it is given
/// to a callback it is valid until that returns. It holds one object, at most 16 MiB and 512
/// levels; a dictionary that would be longer is not delivered, but -EBADMSG returned in its place.
///
/// Objects are counted. The maker has the first reference; `_ref` takes another and returns the
/// object, `_unref` gives one back and returns NULL; both take NULL. References are taken and given
/// back on the objects' thread.
///
/// Structs begin with their `size`, which the `_INIT` macro sets, or whoever fills one by hand; all
/// else may be zero. Later versions append members, and take a shorter struct for one whose further
/// members are zero; a longer one is -E2BIG, unless that holds.
///
/// Callbacks come on the objects' thread, from inside a function of this interface. Unless their
/// struct says otherwise, they may call all of them but the loop's dispatch and run, may give back
/// the last reference to any object, also to the one that calls them, and may replace themselves. A
/// callback that returns `int` returns 0, or a negative number of its own choice to say that it
/// failed: that number is then what the function returns out of which the callback was called, with
/// the domain AMBREL_ERROR_DOMAIN_CALLBACK. A binding keeps there its language's exception, and
/// raises it again when the function has returned. No exception may leave a callback. `destroy` is
/// called once for each time that the struct was handed over, when its callbacks will not be called
/// any more: at the latest when the object that has it goes, or when the call of its callback that
/// is running then has returned. If the function that takes the struct fails, `destroy` is not
/// called.

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __GNUC__
/// What the library shows bears it.
#define AMBREL_API __attribute__((visibility("default")))
#else
#define AMBREL_API
#endif

// ---- Version ----

/// Of this header.
#define AMBREL_VERSION_MAJOR 0
/// The second number of the version: with the first, what C++ and Python hosts rely on.
#define AMBREL_VERSION_MINOR 1
/// The third number: what changes no promise.
#define AMBREL_VERSION_PATCH 0
/// All three as text.
#define AMBREL_VERSION "0.1.0"

/// As one number, which grows with the version.
#define AMBREL_VERSION_NUMBER                                                                      \
    (AMBREL_VERSION_MAJOR * 1000000 + AMBREL_VERSION_MINOR * 1000 + AMBREL_VERSION_PATCH)

/// The version of the library that runs: AMBREL_VERSION and AMBREL_VERSION_NUMBER of its own
/// header. Any thread.
AMBREL_API const char* ambrel_version(void);
/// AMBREL_VERSION_NUMBER of the library that runs. On any thread.
AMBREL_API int ambrel_version_number(void);

// ---- Errors ----

/// An error as errno has it: `code` is the positive number.
#define AMBREL_ERROR_DOMAIN_ERRNO "AmbrelKit.Errno"
/// The kit's own error: `code` 0, the reuse threshold is not from 0 to 30.
#define AMBREL_ERROR_DOMAIN_KIT "AmbrelKit.AmbrelError"
/// Text that is no JSON object, or a value that has no JSON form: `code` is the first byte that
/// can't be JSON, counted from 1, or 0.
#define AMBREL_ERROR_DOMAIN_JSON "AmbrelKit.JSON"
/// A callback has failed: `code` is what it returned.
#define AMBREL_ERROR_DOMAIN_CALLBACK "AmbrelKit.Callback"
/// The store could not do what it was asked: `code` is 0.
#define AMBREL_ERROR_DOMAIN_STORE "AmbrelKit.Store"
/// A replay script is wrong: `code` is the line, counted from 1. Only <ambrelkit-simulated.h> has
/// it.
#define AMBREL_ERROR_DOMAIN_SCRIPT "AmbrelKit.Script"

/// What went wrong. It begins as AMBREL_ERROR_INIT, all zero; a function that fails fills it, one
/// that succeeds leaves it alone. It may be used again; in the end `ambrel_error_free` is called.
/// Never grows.
typedef struct ambrel_error {
    const char* domain; ///< one of the above; valid as long as the program runs
    int code;           ///< as the domain says
    /// For people, in one line, owned by the error: English, but for what the system says of an
    /// errno, which is in the language of the process's locale.
    const char* description;
} ambrel_error;

/// An error that says nothing yet. Free what it holds with ambrel_error_free().
#define AMBREL_ERROR_INIT                                                                          \
    { NULL, 0, NULL }

/// Frees what the error holds, and makes it AMBREL_ERROR_INIT again. Takes NULL. Any thread.
AMBREL_API void ambrel_error_free(ambrel_error* error);

/// Frees a text that a function of this library has handed out. Takes NULL. Any thread.
AMBREL_API void ambrel_free(void* text);

// ---- The loop ----
//
// Each thread has one, made on first use: -EMFILE and the like when the system gives no descriptor
// for it, -ELIBACC when libsystemd can't be loaded. A host with a loop of its own polls the
// descriptor for reading and dispatches when it is readable; nothing else is needed.

/// A descriptor that is readable when there is something to dispatch, or a negative errno. It stays
/// the same; it is owned by the loop, and only to be polled.
AMBREL_API int ambrel_loop_fd(ambrel_error* error);

/// Runs what is due, without waiting; a failure of a callback is returned, the rest stays due and
/// the descriptor readable: dispatch again. Of several failures each further call returns one.
/// -EBUSY from a callback of the loop.
AMBREL_API int ambrel_loop_dispatch(ambrel_error* error);

/// Dispatches and waits until `ambrel_loop_stop` is called, or a callback fails, which is returned;
/// it may be run again. -EBUSY from a callback of the loop.
AMBREL_API int ambrel_loop_run(ambrel_error* error);

/// Makes `ambrel_loop_run` return after the callback that is running. When it does not run, its
/// next call returns at once.
AMBREL_API int ambrel_loop_stop(ambrel_error* error);

// ---- Permissions and settings ----

/// The questions that the kit asks its host. Later versions may ask others.
enum {
    AMBREL_BLUETOOTH_SETTING = 0,           ///< is Bluetooth switched on?
    AMBREL_BLUETOOTH_PERMISSION = 1,        ///< may this program look for peripherals?
    AMBREL_LOCATION_SETTING = 2,            ///< is location switched on?
    AMBREL_LOCATION_PERMISSION = 3,         ///< may this program use the location?
    AMBREL_LOCATION_PRECISE_PERMISSION = 4, ///< may the location be exact?
    AMBREL_NETWORK_SETTING = 5,             ///< is the network switched on?
    AMBREL_NETWORK_PERMISSION = 6           ///< may this program look for services?
};

/// The answers. Another number is carried unchanged, and counts as not granted.
enum {
    AMBREL_STATUS_UNKNOWN = 0, ///< not known, not decided yet, or not answered
    AMBREL_STATUS_GRANTED = 1, ///< the permission is granted, the setting is on
    AMBREL_STATUS_DENIED = 2   ///< the permission is refused, the setting is off
};

// ---- The delegate ----

/// What a host implements.
typedef struct ambrel_delegate {
    /// `sizeof` the struct, by the initializer.
    size_t size;
    void* context; ///< what the callbacks are given
    /// The context is not used any more; never called below a callback of this struct. May be NULL.
    void (*destroy)(void* context);

    /// A collection is finished, or a recent one is handed over again. `json` is its dictionary:
    /// "timestamp" (whole seconds since 1970), "bleScan", "nearbyDevices", "ambrel_analytics", and
    /// where known "ip", "wifiNetwork" and "locationCollection"; docs/ambrel-data.schema.json
    /// describes it. It may come from inside an operation of the kit, from the loop otherwise.
    int (*did_receive_update_with_collected_data)(void* context, const char* json, size_t length);

    /// One of the questions is asked; `answer` is AMBREL_STATUS_UNKNOWN until it is set. The kit
    /// takes the answers for the truth. They are asked often, so that an answer should be at hand.
    /// Withdraw a permission only while nothing is collected. With several kits the delegate of the
    /// one made last is asked what may be started and stopped. Without this function every answer
    /// is unknown, and nothing is looked for.
    int (*status)(void* context, int question, int64_t* answer);
} ambrel_delegate;

/// A struct with its size, and else zero.
#define AMBREL_DELEGATE_INIT                                                                       \
    { sizeof(ambrel_delegate), NULL, NULL, NULL, NULL }

// ---- The kit ----

/// A kit: counted, of one thread. The last reference ends what it does, and nothing more is
/// delivered.
typedef struct ambrel_kit ambrel_kit;

/// Where fixes come from.
enum {
    AMBREL_LOCATION_AUTOMATIC = 0, ///< GeoClue, and gpsd where that is not there; a refusal binds
    AMBREL_LOCATION_GEOCLUE = 1,   ///< GeoClue alone
    AMBREL_LOCATION_GPSD = 2,      ///< gpsd alone, which tells nobody and asks nobody
    AMBREL_LOCATION_NONE = 3       ///< nowhere: the location is restricted
};

/// Whose multicast DNS finds services.
enum {
    AMBREL_MDNS_AUTOMATIC = 0, ///< the daemon's where it serves and surely keeps all, else embedded
    AMBREL_MDNS_DAEMON = 1,    ///< avahi-daemon's alone
    AMBREL_MDNS_EMBEDDED = 2   ///< the one in this process alone; no daemon is asked
};

/// How exactly GeoClue is asked; the user's own setting may allow less. 0 is exact.
enum {
    AMBREL_ACCURACY_COUNTRY = 1,      ///< the country
    AMBREL_ACCURACY_CITY = 4,         ///< the city
    AMBREL_ACCURACY_NEIGHBORHOOD = 5, ///< the part of the city
    AMBREL_ACCURACY_STREET = 6,       ///< the street
    AMBREL_ACCURACY_EXACT = 8         ///< as exactly as can be had
};

/// What else a kit does; `flags` has some of them, or 0.
enum {
    /// Looks for services as `ambrel` does: for types that homes and offices announce where
    /// `service_types` is NULL and the list is not there, and beside "all", which not every device
    /// answers to.
    AMBREL_KIT_USUAL_SERVICES = 1
};

/// How a kit on this machine looks around. All of it is copied.
typedef struct ambrel_kit_options {
    /// `sizeof` the struct, by the initializer.
    size_t size;
    /// The DNS-SD types to look for, such as "_ipp._tcp", or "all" for whatever the network says it
    /// has, with NULL at the end; no type: no services. NULL: those that the JSON object in the
    /// file `$AMBREL_INFO`, else in `Info.json` beside the executable, lists under
    /// "NSBonjourServices"; without such a list no services.
    const char* const* service_types;
    /// The name of the host's desktop file, without `.desktop`, which GeoClue knows it by. NULL or
    /// empty: "CFBundleIdentifier" of that object, else the application that the desktop started,
    /// else the program's name.
    const char* desktop_id;
    /// gpsd's address, numeric IPv4 or IPv6. NULL or empty: "127.0.0.1".
    const char* gpsd_address;
    int32_t gpsd_port;         ///< 1 to 65535; 0: 2947
    int32_t location_source;   ///< AMBREL_LOCATION_...
    int32_t location_accuracy; ///< AMBREL_ACCURACY_...
    int32_t flags;             ///< AMBREL_KIT_..., or 0
    int32_t mdns;              ///< AMBREL_MDNS_...
    int32_t reserved;          ///< 0
} ambrel_kit_options;

/// A struct with its size, and else zero.
#define AMBREL_KIT_OPTIONS_INIT                                                                    \
    { sizeof(ambrel_kit_options), NULL, NULL, NULL, 0, 0, 0, 0, 0, 0 }

/// A kit on this machine, driven by the calling thread's loop; `options` may be NULL. No daemon is
/// asked anything yet. -EINVAL for an option that is out of its range, or an address that is not
/// numeric; -EMFILE, -ELIBACC and the like when there is no loop.
AMBREL_API int ambrel_kit_new(const ambrel_kit_options* options, ambrel_kit** kit,
                              ambrel_error* error);

/// One reference more; gives it back.
AMBREL_API ambrel_kit* ambrel_kit_ref(ambrel_kit* kit);

/// The last one ends what runs, and lets go of the delegate: nothing is delivered or asked any
/// more. It may be given back in any callback; what runs on the stack then goes on to its end.
AMBREL_API ambrel_kit* ambrel_kit_unref(ambrel_kit* kit);

/// Replaces the delegate, NULL for none, and starts, stops and reports nothing. The struct is
/// copied. The one before goes at once, or when its running callback has returned.
AMBREL_API int ambrel_kit_set_delegate(ambrel_kit* kit, const ambrel_delegate* delegate,
                                       ambrel_error* error);

/// The delegate's context; NULL without a delegate, or without a kit.
AMBREL_API void* ambrel_kit_delegate_context(const ambrel_kit* kit);

/// Collects now for ten seconds, and again each time the device resumes or its user comes back,
/// until `ambrel_kit_stop_scanning` or a single collection. A finished record within the reuse
/// threshold is delivered again instead; without any granted permission an empty record is. Both
/// are delivered before this returns. When a callback fails meanwhile, that is returned, and
/// nothing was started. While a collection runs, the request is ignored.
AMBREL_API int ambrel_kit_start_scanning(ambrel_kit* kit, ambrel_error* error);

/// As above, once: a collection that this starts ends the automatic mode.
AMBREL_API int ambrel_kit_start_scanning_once(ambrel_kit* kit, ambrel_error* error);

/// Ends the background task of the automatic mode, by which sleep is delayed. A running collection
/// goes on.
AMBREL_API int ambrel_kit_complete_scanning(ambrel_kit* kit, ambrel_error* error);

/// Ends the running collection without delivering it, the automatic mode and the background task.
/// Afterwards nothing is reported until the next start; what was collected stays in the open record
/// until that is ten seconds old. When a question fails meanwhile, that is returned, and it is half
/// done: to be called again.
AMBREL_API int ambrel_kit_stop_scanning(ambrel_kit* kit, ambrel_error* error);

/// Turns the automatic mode on without starting a collection now. Sleep is delayed from here on, as
/// after a collection, until `ambrel_kit_complete_scanning`.
AMBREL_API int ambrel_kit_automatic_mode_for_notification_and_background_task(ambrel_kit* kit,
                                                                              ambrel_error* error);

/// Sets the reuse threshold of this process: up to how many seconds after its start a finished
/// collection is delivered again in answer to a request. From 0 to 30, both included, 30 at first;
/// else -ERANGE.
AMBREL_API int ambrel_kit_set_time_threshold(ambrel_kit* kit, int64_t seconds, ambrel_error* error);

/// How many records the kit keeps, the newest; 0, as at first, for every one. A host that runs for
/// months sets it.
AMBREL_API int ambrel_kit_set_history_limit(ambrel_kit* kit, size_t limit, ambrel_error* error);
/// How many records it keeps; 0 for every one, or without a kit.
AMBREL_API size_t ambrel_kit_history_limit(const ambrel_kit* kit);

#ifdef __cplusplus
}
#endif

#include <ambrelkit-status.h>
#include <ambrelkit-store.h>

#endif
