// A host in C on this machine's own platform, in a network of its own, without a bus.
#include "tests/C/Check.h"

#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// Dispatches what comes within so many milliseconds; 1 when nothing did.
static int dispatch_within(int milliseconds, ambrel_error* error) {
    struct pollfd ready = {.fd = ambrel_loop_fd(NULL), .events = POLLIN};
    CHECK(ready.fd >= 0);
    return poll(&ready, 1, milliseconds) == 1 ? ambrel_loop_dispatch(error) : 1;
}

/// A host, its objects, and what its callbacks do.
struct host {
    ambrel_kit* kit;
    ambrel_source_reports* reports;
    ambrel_host_status* status;
    int64_t network_permission;
    int turn;                ///< the callback that gives all objects back, counted from 1
    bool leaves_on_delivery; ///< and gives all objects back
    int result;              ///< of a delivery
    int callbacks;
    int delivered;
    int changes;
    int destroyed;
};

static void release(struct host* host) {
    host->kit = ambrel_kit_unref(host->kit);
    host->reports = ambrel_source_reports_unref(host->reports);
    host->status = ambrel_host_status_unref(host->status);
}

static void take_turn(struct host* host, bool leaves) {
    if (++host->callbacks == host->turn || leaves) {
        release(host);
        CHECK(host->destroyed == 2); // the third is that which runs
    }
}

static int receive(void* context, const char* json, size_t length) {
    struct host* host = context;
    CHECK(length > 2 && json[0] == '{' && json[length] == '\0');
    ++host->delivered;
    take_turn(host, host->leaves_on_delivery);
    return host->result;
}

static int answer(void* context, int question, int64_t* status) {
    struct host* host = context;
    *status = question == AMBREL_NETWORK_PERMISSION ? host->network_permission : 77;
    take_turn(host, false);
    return 0;
}

static int changed(void* context) {
    struct host* host = context;
    ++host->changes;
    CHECK_IS_ERRNO(ambrel_loop_dispatch(&error), EBUSY);
    CHECK_IS_ERRNO(ambrel_loop_run(&error), EBUSY);
    take_turn(host, false);
    return 0;
}

static void destroy(void* context) { ++((struct host*)context)->destroyed; }

static void begin(struct host* host) {
    static const char* const none[] = {NULL};
    ambrel_kit_options options = AMBREL_KIT_OPTIONS_INIT;
    options.service_types = none; // so that nothing leaves
    options.location_source = AMBREL_LOCATION_NONE;
    CHECK(ambrel_kit_new(&options, &host->kit, NULL) == 0);
    ambrel_delegate delegate = AMBREL_DELEGATE_INIT;
    delegate.context = host;
    delegate.destroy = destroy;
    delegate.did_receive_update_with_collected_data = receive;
    delegate.status = answer;
    CHECK(ambrel_kit_set_delegate(host->kit, &delegate, NULL) == 0);
    ambrel_observer observer = AMBREL_OBSERVER_INIT;
    observer.context = host;
    observer.destroy = destroy;
    observer.changed = changed;
    CHECK(ambrel_source_reports_new(&observer, &host->reports, NULL) == 0);
    CHECK(ambrel_host_status_new(&observer, &host->status, NULL) == 0);
}

/// Two collect at a time: one lets go of everything as it receives, the other fails.
static void collects(void) {
    struct host leaving = {.network_permission = AMBREL_STATUS_GRANTED, .leaves_on_delivery = true};
    struct host failing = {.network_permission = AMBREL_STATUS_GRANTED, .result = -1234};
    begin(&leaving);
    begin(&failing);
    CHECK(ambrel_kit_start_scanning_once(leaving.kit, NULL) == 0);
    CHECK(ambrel_kit_start_scanning_once(failing.kit, NULL) == 0);
    int failures = 0;
    while (leaving.delivered == 0 || failures == 0) {
        ambrel_error error = AMBREL_ERROR_INIT;
        const int result = dispatch_within(5000, &error);
        if (result < 0) {
            CHECK(result == -1234 && error.code == -1234);
            CHECK(strcmp(error.domain, AMBREL_ERROR_DOMAIN_CALLBACK) == 0);
            ++failures;
        }
        CHECK(result <= 0);
        ambrel_error_free(&error);
    }
    CHECK(failing.delivered == 1 && failures == 1);
    const bool left_out = ambrel_source_reports_state(failing.reports, AMBREL_SOURCE_BLUETOOTH) ==
                          AMBREL_SOURCE_LEFT_OUT;
    CHECK(ambrel_source_reports_outcome(failing.reports, AMBREL_SOURCE_BLUETOOTH) ==
          (left_out ? AMBREL_OUTCOME_FAILED : AMBREL_OUTCOME_NOT_ASKED));
    char* json = NULL;
    size_t length = 0;
    CHECK(ambrel_source_reports_json(failing.reports, &json, &length, NULL) == 0);
    CHECK(length == strlen(json) && strstr(json, "\"bluetooth\":{") != NULL);
    ambrel_free(json);
    char* text = NULL;
    CHECK(ambrel_source_reports_shortfall(failing.reports, AMBREL_SOURCE_BLUETOOTH, &text, NULL) ==
          0);
    CHECK((strlen(text) > 0) == left_out);
    ambrel_free(text);
    CHECK(ambrel_source_reports_state(failing.reports, AMBREL_SOURCE_COUNT) == -EINVAL);
    CHECK(ambrel_source_reports_outcome(NULL, AMBREL_SOURCE_BLUETOOTH) == -EINVAL);
    release(&failing);
    CHECK(leaving.destroyed == 3 && failing.destroyed == 3);
}

/// Each callback in turn gives all objects back once: what the start calls, and what comes from the
/// loop after it.
static void any_callback_may_release(void) {
    int changes = 0;
    for (int turn = 1, done = false; !done; ++turn) {
        struct host host = {.turn = turn, .network_permission = turn % 2};
        begin(&host);
        CHECK(ambrel_kit_start_scanning(host.kit, NULL) == 0);
        for (int i = 0; i < 100 && dispatch_within(20, NULL) == 0; ++i) {
            if (i == 2 && host.kit != NULL) {
                CHECK(ambrel_kit_stop_scanning(host.kit, NULL) == 0);
            }
        }
        done = host.callbacks < turn && turn % 2;
        changes += host.changes;
        release(&host);
        CHECK(host.destroyed == 3 && turn < 200);
    }
    CHECK(changes > 0);
}

static void tells_what_the_machine_shows(void) {
    struct host host = {0};
    begin(&host);
    CHECK(ambrel_host_status_get(host.status, AMBREL_NETWORK_PERMISSION) == AMBREL_STATUS_GRANTED);
    CHECK(ambrel_host_status_get(host.status, AMBREL_NETWORK_SETTING) == AMBREL_STATUS_DENIED);
    CHECK(ambrel_host_status_get(host.status, AMBREL_BLUETOOTH_SETTING) == AMBREL_STATUS_UNKNOWN);
    CHECK(ambrel_host_status_get(host.status, 7) == AMBREL_STATUS_UNKNOWN);
    CHECK(ambrel_host_status_get(NULL, 0) == AMBREL_STATUS_UNKNOWN);
    CHECK(system("ip link add v0 type veth peer v1 && ip link set v1 up && ip link set v0 up") ==
          0);
    host.turn = 1;
    while (host.changes == 0) {
        CHECK(dispatch_within(5000, NULL) == 0);
    }
    CHECK(host.status == NULL && host.destroyed == 3);
}

static int stop_loop(void* context) {
    ++*(int*)context;
    return ambrel_loop_stop(NULL);
}

static void loop_stops(void) {
    CHECK(ambrel_loop_fd(NULL) == ambrel_loop_fd(NULL));
    CHECK(ambrel_loop_stop(NULL) == 0);
    CHECK(ambrel_loop_run(NULL) == 0);
    int changes = 0;
    ambrel_observer observer = AMBREL_OBSERVER_INIT;
    observer.context = &changes;
    observer.changed = stop_loop;
    ambrel_source_reports* reports = NULL;
    CHECK(ambrel_source_reports_new(&observer, &reports, NULL) == 0);
    struct host host = {.network_permission = AMBREL_STATUS_GRANTED};
    begin(&host);
    CHECK(ambrel_kit_start_scanning(host.kit, NULL) == 0);
    CHECK(ambrel_loop_run(NULL) == 0);
    CHECK(changes == 1 && ambrel_source_reports_ref(reports) == reports);
    ambrel_source_reports_unref(ambrel_source_reports_unref(reports));
    ambrel_source_reports_unref(reports);
    release(&host);
}

/// The child of a fork, such as an interpreter's, drops what it inherited.
static void forked_child_lets_go(void) {
    struct host host = {.network_permission = AMBREL_STATUS_GRANTED};
    begin(&host);
    CHECK(ambrel_kit_start_scanning(host.kit, NULL) == 0);
    const pid_t child = fork();
    if (child == 0) {
        CHECK_IS_ERRNO(ambrel_loop_fd(&error), ECHILD);
        CHECK_IS_ERRNO(ambrel_loop_dispatch(&error), ECHILD);
    }
    release(&host);
    CHECK(host.destroyed == 3);
    int status = 0;
    CHECK(child == 0 || (waitpid(child, &status, 0) == child && status == 0));
}

static void lacks_descriptors(void) {
    struct rlimit before;
    CHECK(getrlimit(RLIMIT_NOFILE, &before) == 0);
    struct rlimit none = before;
    none.rlim_cur = 0;
    CHECK(setrlimit(RLIMIT_NOFILE, &none) == 0);
    struct host host = {0};
    CHECK_IS_ERRNO(ambrel_loop_fd(&error), EMFILE);
    CHECK_IS_ERRNO(ambrel_kit_new(NULL, &host.kit, &error), EMFILE);
    ambrel_observer observer = AMBREL_OBSERVER_INIT;
    observer.context = &host;
    observer.destroy = destroy;
    CHECK_IS_ERRNO(ambrel_source_reports_new(&observer, &host.reports, &error), EMFILE);
    CHECK(host.destroyed == 0);
    CHECK(setrlimit(RLIMIT_NOFILE, &before) == 0);
    begin(&host);
    release(&host);
}

static void options_are_checked(void) {
    static const struct {
        ambrel_kit_options options;
        int error;
    } cases[] = {
        {{.size = 0}, EINVAL},
        {{.size = sizeof(ambrel_kit_options), .location_source = 4}, EINVAL},
        {{.size = sizeof(ambrel_kit_options), .location_source = -1}, EINVAL},
        {{.size = sizeof(ambrel_kit_options), .location_accuracy = 2}, EINVAL},
        {{.size = sizeof(ambrel_kit_options), .gpsd_port = 65536}, EINVAL},
        {{.size = sizeof(ambrel_kit_options), .flags = 2}, EINVAL},
        {{.size = sizeof(ambrel_kit_options), .mdns = 3}, EINVAL},
        {{.size = sizeof(ambrel_kit_options), .reserved = 1}, EINVAL},
        {{.size = sizeof(ambrel_kit_options), .gpsd_address = "local\nhost\xff"},
         AMBREL_WITH_GPSD ? EINVAL : 0},
        {{.size = sizeof(size_t), .location_source = 4},
         0}, // what an older host does not have is not read
        {{.size = sizeof(ambrel_kit_options),
          .desktop_id = "org.example.host",
          .gpsd_address = "::1",
          .gpsd_port = 1,
          .location_source = AMBREL_LOCATION_GPSD,
          .location_accuracy = AMBREL_ACCURACY_CITY,
          .mdns = AMBREL_MDNS_EMBEDDED},
         0},
    };
    for (size_t i = 0; i < sizeof cases / sizeof *cases; ++i) {
        ambrel_kit* kit = NULL;
        if (cases[i].error != 0) {
            CHECK_IS_ERRNO(ambrel_kit_new(&cases[i].options, &kit, &error), cases[i].error);
            CHECK(kit == NULL);
        } else {
            CHECK(ambrel_kit_new(&cases[i].options, &kit, NULL) == 0 && kit != NULL);
        }
        ambrel_kit_unref(kit);
    }
    CHECK(ambrel_kit_new(NULL, NULL, NULL) == -EINVAL);
}

int main(int argc, char** argv) {
    static const struct test_case cases[] = {
        {"Collects", collects},
        {"AnyCallbackMayRelease", any_callback_may_release},
        {"TellsWhatTheMachineShows", tells_what_the_machine_shows},
        {"LoopStops", loop_stops},
        {"ForkedChildLetsGo", forked_child_lets_go},
        {"LacksDescriptors", lacks_descriptors},
        {"OptionsAreChecked", options_are_checked},
    };
    const char* const refusal = isolate_c();
    if (*refusal != '\0') {
        printf("skipped: %s\n", refusal);
        return 77;
    }
    return run_case(cases, sizeof cases / sizeof *cases, argc, argv);
}
