// A host in C: reads lives as RandomLife.cpp writes them, each ended by "run", and writes what its
// kits did, ended by ".".

#include "tests/C/Check.h"

#include <ambrelkit-simulated.h>

enum { KITS = 3, QUESTIONS = 7, STEPS = 200, FAILED = -1234 };

struct step {
    int at, who, value;
    char name[32];
    char json[256];
};

static struct step steps[STEPS];
static int step_count, callbacks, taken, destroyed;
static int64_t answers[KITS][QUESTIONS];
static const int numbers[KITS] = {0, 1, 2};
static int64_t until;
static ambrel_simulated* platform;
static ambrel_kit* kits[KITS];

static int perform(const struct step* step);

/// What the host does in this callback.
static int act(void) {
    const int turn = callbacks++;
    for (int i = 0; i < step_count; ++i) {
        const int result = steps[i].at == turn ? perform(&steps[i]) : 0;
        if (result != 0) {
            return result;
        }
    }
    return 0;
}

static int receive(void* context, const char* json, size_t length) {
    printf("%d receives %.*s\n", *(const int*)context, (int)length, json);
    return act();
}

static int answer(void* context, int question, int64_t* result) {
    const int number = *(const int*)context;
    printf("%d asks %d\n", number, question);
    const int failure = act();
    *result = answers[number][question];
    return failure;
}

static void destroy(void* context) {
    (void)context;
    ++destroyed;
}

static int attach(ambrel_kit* kit, int number) {
    if (number < 0) {
        return ambrel_kit_set_delegate(kit, NULL, NULL);
    }
    ambrel_delegate delegate = AMBREL_DELEGATE_INIT;
    delegate.context = (void*)&numbers[number];
    delegate.destroy = destroy;
    delegate.did_receive_update_with_collected_data = receive;
    delegate.status = answer;
    ++taken;
    return ambrel_kit_set_delegate(kit, &delegate, NULL);
}

static int create(const struct step* step) {
    static const char* const types[] = {"_a._tcp.", "_b._tcp.", NULL};
    const char* of_kit[3] = {NULL, NULL, NULL};
    memcpy(of_kit, types, (size_t)(2 - step->who) * sizeof *types);
    kits[step->who] = ambrel_kit_unref(kits[step->who]);
    CHECK(ambrel_simulated_kit_new(platform, of_kit, &kits[step->who], NULL) == 0);
    return attach(kits[step->who], step->value);
}

static int operate(ambrel_kit** place, const char* name, int value) {
    static const struct {
        const char* name;
        int (*call)(ambrel_kit*, ambrel_error*);
    } calls[] = {{"startScanning", ambrel_kit_start_scanning},
                 {"startScanningOnce", ambrel_kit_start_scanning_once},
                 {"completeScanning", ambrel_kit_complete_scanning},
                 {"stopScanning", ambrel_kit_stop_scanning},
                 {"automaticMode", ambrel_kit_automatic_mode_for_notification_and_background_task}};
    for (size_t i = 0; i < sizeof calls / sizeof *calls; ++i) {
        if (strcmp(name, calls[i].name) == 0) {
            return calls[i].call(*place, NULL);
        }
    }
    if (strcmp(name, "setThreshold") == 0) {
        const int result = ambrel_kit_set_time_threshold(*place, value, NULL);
        CHECK(result == 0 || result == -ERANGE);
        if (result != 0) {
            puts("refused");
        }
        return 0;
    }
    if (strcmp(name, "setHistoryLimit") == 0) {
        return ambrel_kit_set_history_limit(*place, (size_t)value, NULL);
    }
    if (strcmp(name, "attach") == 0) {
        return attach(*place, value);
    }
    CHECK(strcmp(name, "release") == 0);
    *place = ambrel_kit_unref(*place);
    return 0;
}

static int perform(const struct step* step) {
    int64_t* const own = answers[step->who];
    if (step->json[0] != '\0') {
        return ambrel_simulated_feed(platform, step->json, strlen(step->json), NULL);
    }
    if (strcmp(step->name, "fail") == 0) {
        return FAILED;
    }
    if (strcmp(step->name, "create") == 0) {
        return create(step);
    }
    if (strcmp(step->name, "answer") == 0) {
        own[step->value / 8] = step->value % 8;
        return 0;
    }
    if (strcmp(step->name, "permit") == 0) {
        own[AMBREL_BLUETOOTH_PERMISSION] = own[AMBREL_LOCATION_PERMISSION] = step->value;
        own[AMBREL_NETWORK_PERMISSION] = step->value;
        return 0;
    }
    if (strcmp(step->name, "advance") == 0) {
        return ambrel_simulated_advance(platform, until - ambrel_simulated_now(platform), NULL);
    }
    return kits[step->who] != NULL ? operate(&kits[step->who], step->name, step->value) : 0;
}

/// {"at":1,"bluetooth":"create"}, and more of it
static void trace(void* context, const char* text, size_t length) {
    (void)context;
    (void)length;
    char object[32];
    char operation[64];
    int identifier = 0;
    CHECK(sscanf(text, "{\"at\":%*[^,],\"%31[^\"]\":\"%63[^\"]\",\"identifier\":%d", object,
                 operation, &identifier) >= 2);
    const bool names_object = strcmp(operation, "create") == 0;
    printf("%s%s%s", names_object ? object : "", names_object ? " " : "", operation);
    identifier > 0 ? printf(" %d\n", identifier) : puts("");
}

static void live(void) {
    ambrel_simulated_options options = AMBREL_SIMULATED_OPTIONS_INIT;
    options.start = INT64_C(1700000000000000000);
    ambrel_trace tracing = AMBREL_TRACE_INIT;
    tracing.line = trace;
    callbacks = taken = destroyed = 0;
    until = 0;
    for (int i = 0; i < KITS * QUESTIONS; ++i) {
        answers[i / QUESTIONS][i % QUESTIONS] = AMBREL_STATUS_GRANTED;
    }
    CHECK(ambrel_simulated_new(&options, &platform, NULL) == 0);
    CHECK(ambrel_simulated_set_trace(platform, &tracing, NULL) == 0);
    for (int i = 0; i < step_count; ++i) {
        if (steps[i].at >= 0) {
            continue;
        }
        const bool advances = strcmp(steps[i].name, "advance") == 0;
        until += advances ? steps[i].value * INT64_C(1000000) : 0;
        for (int result = FAILED; result != 0;) {
            result = perform(&steps[i]);
            CHECK(result == 0 || result == FAILED);
            if (result != 0) {
                puts("failed");
                result = advances ? result : 0; // time has stood still
            }
        }
    }
    CHECK(ambrel_simulated_set_trace(platform, NULL, NULL) == 0);
    for (int i = 0; i < KITS; ++i) {
        kits[i] = ambrel_kit_unref(kits[i]);
    }
    platform = ambrel_simulated_unref(platform);
    CHECK(taken == destroyed);
    step_count = 0;
    puts(".");
    fflush(stdout);
}

int main(void) {
    char line[512];
    while (fgets(line, sizeof line, stdin) != NULL) {
        struct step* const step = &steps[step_count];
        memset(step, 0, sizeof *step);
        if (strcmp(line, "run\n") == 0) {
            live();
        } else if (sscanf(line, "%d feed %255[^\n]", &step->at, step->json) == 2 ||
                   sscanf(line, "%d %31s %d %d", &step->at, step->name, &step->who, &step->value) ==
                       4) {
            CHECK(++step_count < STEPS);
        } else {
            return 2;
        }
    }
    return 0;
}
