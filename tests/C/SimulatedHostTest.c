// A host in C on the simulated platform: each function, and every callback doing all that it may.
#include "tests/C/SimulatedHost.h"

#define SECOND INT64_C(1000000000)

static const char* const events[] = {
    "{\"bluetooth\": {\"state\": 5}}",
    "{\"bluetooth\": {\"discover\": {\"identifier\": \"C0FFEE00-0000-4000-8000-000000000001\","
    " \"name\": \"Lamp\"}}}",
    "{\"bonjour\": {\"found\": {\"type\": \"_ipp._tcp.\", \"name\": \"Printer\"}}}",
    "{\"bonjour\": {\"resolved\": {\"type\": \"_ipp._tcp.\", \"name\": \"Printer\","
    " \"addresses\": [\"10020277c00002090000000000000000\"], \"txt\": \"03613d62\"}}}",
    "{\"location\": {\"authorization\": 4}}",
    "{\"location\": {\"update\": [{\"latitude\": 60.5, \"longitude\": 24.5, \"timestamp\": 7}]}}",
    "{\"network\": {\"interfaces\": [{\"name\": \"en0\", \"address\": \"192.0.2.9\"}]}}",
    "{\"network\": {\"captive\": {\"supported\": [\"en0\"], \"info\": {\"en0\": {\"SSID\": "
    "\"Home\"}}}}}",
    "{\"clock\": {\"offset\": 1}}",
    "{\"application\": \"didBecomeActive\"}",
    "{\"application\": {\"expire\": 1}}",
};

static void operate(struct host* host, int (*operation)(ambrel_kit*, ambrel_error*)) {
    if (host->kit != NULL) {
        note(host, operation(host->kit, NULL));
    }
}

static void wait(struct host* host, int seconds) {
    if (host->platform != NULL) {
        note(host, ambrel_simulated_advance(host->platform, seconds * SECOND, NULL));
    }
}

/// Calls every operation of a kit, and collects meanwhile.
static void live(struct host* host) {
    static const char* const types[] = {"_ipp._tcp.", NULL};
    static const char* const identifiers[] = {"00000000-0000-4000-8000-00000000000A", NULL};
    ambrel_simulated_options options = AMBREL_SIMULATED_OPTIONS_INIT;
    options.start = 1700000000 * SECOND;
    options.identifiers = identifiers;
    CHECK(ambrel_simulated_new(&options, &host->platform, NULL) == 0);
    CHECK(ambrel_simulated_kit_new(host->platform, types, &host->kit, NULL) == 0);
    const ambrel_delegate delegate = delegate_of(host);
    CHECK(ambrel_kit_set_delegate(host->kit, &delegate, NULL) == 0);
    CHECK(ambrel_kit_delegate_context(host->kit) == host);
    CHECK(ambrel_kit_set_time_threshold(host->kit, 5, NULL) == 0);
    CHECK(ambrel_kit_set_history_limit(host->kit, 3, NULL) == 0);
    CHECK(ambrel_kit_history_limit(host->kit) == 3);
    operate(host, ambrel_kit_automatic_mode_for_notification_and_background_task);
    operate(host, ambrel_kit_start_scanning);
    for (size_t i = 0; i < sizeof events / sizeof *events; ++i) {
        if (host->platform != NULL) {
            note(host, ambrel_simulated_feed(host->platform, events[i], strlen(events[i]), NULL));
        }
    }
    wait(host, 11);
    operate(host, ambrel_kit_complete_scanning);
    operate(host, ambrel_kit_start_scanning_once);
    wait(host, 1);
    operate(host, ambrel_kit_stop_scanning);
    const int64_t now = ambrel_simulated_now(host->platform);
    CHECK(now == (host->platform != NULL ? 12 * SECOND : 0) || host->failures > 0);
    host->kit = ambrel_kit_unref(host->kit);
    host->platform = ambrel_simulated_unref(host->platform);
}

static void collects(void) {
    struct host host = {0};
    live(&host);
    static const char* const found[] = {"Lamp", "Printer", "192.0.2.9",
                                        "Home", "60.5",    "\"a\":\"b\""};
    for (size_t i = 0; i < sizeof found / sizeof *found; ++i) {
        CHECK(strstr(host.last, found[i]) != NULL);
    }
    CHECK(host.delivered > 0 && host.failures == 0 && host.destroyed == 1);
}

/// Each callback in turn does each thing once; what it leaves must be whole.
static void callbacks_may_do_anything(void) {
    for (int manner = RELEASE; manner <= RELEASE_ALL; ++manner) {
        for (int turn = 1, done = false; !done; ++turn) {
            struct host host = {.manner = (enum manner)manner, .turn = turn};
            live(&host);
            done = host.callbacks < turn;
            const bool acted = !done;
            CHECK(host.failures == (acted && manner == FAIL ? 1 : 0));
            CHECK(host.destroyed == (acted && manner == REPLACE ? 2 : 1));
            CHECK(turn < 1000);
        }
    }
}

static void write_line(void* context, const char* text, size_t length) {
    CHECK(length > 0 && text[length - 1] == '\n');
    fwrite(text, 1, length, context);
}

static void refuse_line(void* context, const char* text, size_t length) {
    (void)text;
    CHECK(length > 0 && ((struct host*)context)->kit != NULL);
}

static void drop_kit(void* context) {
    struct host* host = context;
    ambrel_kit* const kit = host->kit;
    host->kit = NULL; // no line comes any more
    ambrel_kit_unref(kit);
}

static void tells_what_the_kit_asks(void) {
    struct host host = {0};
    CHECK(ambrel_simulated_new(NULL, &host.platform, NULL) == 0);
    CHECK(ambrel_simulated_ref(host.platform) == host.platform);
    CHECK(ambrel_simulated_unref(host.platform) == NULL);
    CHECK(ambrel_simulated_kit_new(host.platform, NULL, &host.kit, NULL) == 0);
    char text[4096] = "";
    FILE* file = fmemopen(text, sizeof text, "w");
    ambrel_trace trace = AMBREL_TRACE_INIT;
    trace.context = file;
    trace.line = write_line;
    CHECK(ambrel_simulated_set_trace(host.platform, &trace, NULL) == 0);
    const ambrel_delegate delegate = delegate_of(&host);
    CHECK(ambrel_kit_set_delegate(host.kit, &delegate, NULL) == 0);
    CHECK(ambrel_kit_start_scanning_once(host.kit, NULL) == 0);
    trace.context = &host;
    trace.line = refuse_line;
    trace.destroy = drop_kit;
    CHECK(ambrel_simulated_set_trace(host.platform, &trace, NULL) == 0);
    ambrel_kit_unref(ambrel_kit_unref(ambrel_kit_ref(host.kit)));
    ambrel_simulated_unref(host.platform);
    CHECK(host.kit == NULL && host.destroyed == 1);
    fclose(file);
    CHECK(strstr(text, "{\"at\":0,\"bluetooth\":\"create\"}\n") != NULL);
}

static int count_change(void* context) {
    ++*(int*)context;
    return 0;
}

static void tells_how_its_sources_fare(void) {
    ambrel_simulated* platform = NULL;
    ambrel_source_reports* reports = NULL;
    int changes = 0;
    ambrel_observer observer = AMBREL_OBSERVER_INIT;
    observer.context = &changes;
    observer.changed = count_change;
    CHECK(ambrel_simulated_new(NULL, &platform, NULL) == 0);
    CHECK(ambrel_simulated_source_reports_new(platform, &observer, &reports, NULL) == 0);
    ambrel_source_condition condition = AMBREL_SOURCE_CONDITION_INIT;
    condition.state = AMBREL_SOURCE_OFF;
    condition.reason = "hci0 is switched off";
    CHECK(ambrel_simulated_impose(platform, AMBREL_SOURCE_BLUETOOTH, &condition, NULL) == 0);
    condition.state = AMBREL_SOURCE_LEFT_OUT + 1;
    CHECK_IS_ERRNO(ambrel_simulated_impose(platform, AMBREL_SOURCE_WIFI, &condition, &error),
                   EINVAL);
    CHECK_IS_ERRNO(ambrel_simulated_impose(platform, AMBREL_SOURCE_COUNT, NULL, &error), EINVAL);
    CHECK(ambrel_source_reports_state(reports, AMBREL_SOURCE_BLUETOOTH) == AMBREL_SOURCE_OFF);
    char* json = NULL;
    CHECK(ambrel_source_reports_json(reports, &json, NULL, NULL) == 0);
    CHECK(strstr(json, "\"reason\":\"hci0 is switched off\"") != NULL);
    ambrel_free(json);
    CHECK(changes == 0 && ambrel_simulated_advance(platform, 0, NULL) == 0 && changes == 1);
    CHECK(ambrel_simulated_impose(platform, AMBREL_SOURCE_BLUETOOTH, NULL, NULL) == 0);
    ambrel_simulated_unref(platform);
    CHECK(ambrel_source_reports_state(reports, AMBREL_SOURCE_BLUETOOTH) == AMBREL_SOURCE_IDLE);
    ambrel_source_reports_unref(reports);
}

/// As a binding's garbage collector drops them.
static void platforms_go_in_any_order(void) {
    struct host host = {0};
    ambrel_simulated_options options = AMBREL_SIMULATED_OPTIONS_INIT;
    options.start = 1700000000 * SECOND;
    ambrel_simulated* others[2] = {NULL, NULL};
    CHECK(ambrel_simulated_new(&options, &host.platform, NULL) == 0);
    CHECK(ambrel_simulated_new(NULL, &others[0], NULL) == 0);
    CHECK(ambrel_simulated_new(NULL, &others[1], NULL) == 0);
    ambrel_simulated_unref(others[0]);
    ambrel_simulated_unref(others[1]);
    ambrel_delegate delegate = delegate_of(&host);
    delegate.status = NULL; // so that an empty record comes at once
    CHECK(ambrel_simulated_kit_new(host.platform, NULL, &host.kit, NULL) == 0);
    CHECK(ambrel_kit_set_delegate(host.kit, &delegate, NULL) == 0);
    CHECK(ambrel_kit_start_scanning(host.kit, NULL) == 0);
    CHECK(strstr(host.last, "\"timestamp\":1700000000,") != NULL);
    ambrel_kit_unref(host.kit);
    ambrel_simulated_unref(host.platform);
}

static void says_what_is_wrong(void) {
    struct host host = {0};
    static const char* const wrong[] = {"not an identifier", NULL};
    ambrel_simulated_options options = AMBREL_SIMULATED_OPTIONS_INIT;
    options.identifiers = wrong;
    CHECK_IS_ERRNO(ambrel_simulated_new(&options, &host.platform, &error), EINVAL);
    CHECK_IS_ERRNO(ambrel_simulated_new(NULL, NULL, &error), EINVAL);
    CHECK(ambrel_simulated_new(NULL, &host.platform, NULL) == 0);
    CHECK(ambrel_simulated_kit_new(host.platform, NULL, &host.kit, NULL) == 0);
    static const char* const lines[] = {"",
                                        "{",
                                        "{\"at\": 1, \"clock\": {\"offset\": 0}}",
                                        "{\"end\": true}",
                                        "{\"host\": \"startScanning\"}",
                                        "{\"bluetooth\": {\"state\": 5}} x"};
    for (size_t i = 0; i < sizeof lines / sizeof *lines; ++i) {
        CHECK_FAILS(ambrel_simulated_feed(host.platform, lines[i], strlen(lines[i]), &error),
                    -EBADMSG, AMBREL_ERROR_DOMAIN_SCRIPT, 1);
    }
    static char long_line[(1 << 24) + 1];
    memset(long_line, ' ', sizeof long_line);
    memcpy(long_line, events[0], strlen(events[0]));
    CHECK_FAILS(ambrel_simulated_feed(host.platform, long_line, sizeof long_line, &error), -EBADMSG,
                AMBREL_ERROR_DOMAIN_SCRIPT, 1);
    CHECK(ambrel_simulated_feed(host.platform, long_line, sizeof long_line - 1, NULL) == 0);
    CHECK_IS_ERRNO(ambrel_simulated_feed(host.platform, "{\"clock\": {\"offset\": 1}}", 24, NULL) ==
                           0
                       ? ambrel_simulated_advance(host.platform, INT64_MAX, &error)
                       : 0,
                   ERANGE);
    CHECK_IS_ERRNO(ambrel_simulated_advance(host.platform, -1, &error), EINVAL);
    CHECK_IS_ERRNO(ambrel_kit_start_scanning(NULL, &error), EINVAL);
    CHECK_FAILS(ambrel_kit_set_time_threshold(host.kit, 31, &error), -ERANGE,
                AMBREL_ERROR_DOMAIN_KIT, 0);

    struct {
        ambrel_delegate delegate;
        void* later;
    } newer = {.delegate = delegate_of(&host), .later = &host};
    newer.delegate.size = sizeof newer;
    CHECK_IS_ERRNO(ambrel_kit_set_delegate(host.kit, &newer.delegate, &error), E2BIG);
    newer.delegate.size = SIZE_MAX;
    CHECK_IS_ERRNO(ambrel_kit_set_delegate(host.kit, &newer.delegate, &error), E2BIG);
    newer.delegate.size = 0;
    CHECK_IS_ERRNO(ambrel_kit_set_delegate(host.kit, &newer.delegate, &error), EINVAL);
    CHECK(host.destroyed == 0);
    newer.later = NULL;
    newer.delegate.size = sizeof newer;
    CHECK(ambrel_kit_set_delegate(host.kit, &newer.delegate, NULL) == 0);
    newer.delegate.size = offsetof(ambrel_delegate, status);
    CHECK(ambrel_kit_set_delegate(host.kit, &newer.delegate, NULL) == 0);
    CHECK(host.destroyed == 1);
    CHECK(ambrel_kit_start_scanning(host.kit, NULL) == 0);
    CHECK(host.delivered == 1 && host.callbacks == 1); // nothing was granted
    CHECK(ambrel_kit_set_delegate(host.kit, NULL, NULL) == 0);
    CHECK(host.destroyed == 2 && ambrel_kit_delegate_context(host.kit) == NULL);
    ambrel_kit_unref(host.kit);
    ambrel_simulated_unref(host.platform);
    CHECK(ambrel_kit_unref(NULL) == NULL && ambrel_kit_ref(NULL) == NULL);
}

/// Prints the trace of the script on standard input.
static void replays(void) {
    static char script[1 << 20];
    const size_t length = fread(script, 1, sizeof script, stdin);
    ambrel_trace trace = AMBREL_TRACE_INIT;
    trace.context = stdout;
    trace.line = write_line;
    CHECK(ambrel_replay(script, length, 0, &trace, NULL) == 0);
    CHECK_FAILS(ambrel_replay("{\"ambrelReplay\": 1}\nno", 21, AMBREL_REPLAY_QUIET, &trace, &error),
                -EBADMSG, AMBREL_ERROR_DOMAIN_SCRIPT, 2);
    CHECK_IS_ERRNO(ambrel_replay(script, length, 4, &trace, &error), EINVAL);
}

int main(int argc, char** argv) {
    static const struct test_case cases[] = {
        {"Collects", collects},
        {"CallbacksMayDoAnything", callbacks_may_do_anything},
        {"TellsWhatTheKitAsks", tells_what_the_kit_asks},
        {"TellsHowItsSourcesFare", tells_how_its_sources_fare},
        {"PlatformsGoInAnyOrder", platforms_go_in_any_order},
        {"SaysWhatIsWrong", says_what_is_wrong},
        {"Replays", replays},
    };
    return run_case(cases, sizeof cases / sizeof *cases, argc, argv);
}
