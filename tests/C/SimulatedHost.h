#ifndef AMBREL_TESTS_C_SIMULATEDHOST_H
#define AMBREL_TESTS_C_SIMULATEDHOST_H

#include "tests/C/Check.h"

#include <ambrelkit-simulated.h>

enum manner { NOTHING, RELEASE, FAIL, STOP, RESTART, REPLACE, RELEASE_ALL };

/// A host, and what it does in the callback whose turn it is.
struct host {
    ambrel_simulated* platform;
    ambrel_kit* kit;
    enum manner manner;
    int turn;      ///< the callback that does it, counted from 1; 0: none
    int callbacks; ///< so far
    int delivered;
    int destroyed;
    int failures; ///< that a function returned
    char last[4096];
};

static int act(struct host* host);

static int receive(void* context, const char* json, size_t length) {
    struct host* host = context;
    ++host->delivered;
    CHECK(length == strlen(json) && length < sizeof host->last && json[length - 1] == '}');
    memcpy(host->last, json, length + 1);
    const int result = act(host);
    CHECK(memcmp(host->last, json, length + 1) == 0); // valid until this returns
    return result;
}

static int grant(void* context, int question, int64_t* answer) {
    CHECK(question >= AMBREL_BLUETOOTH_SETTING && question <= AMBREL_NETWORK_PERMISSION);
    CHECK(*answer == AMBREL_STATUS_UNKNOWN);
    *answer = AMBREL_STATUS_GRANTED;
    return act(context);
}

static void destroy(void* context) { ++((struct host*)context)->destroyed; }

static ambrel_delegate delegate_of(struct host* host) {
    ambrel_delegate delegate = AMBREL_DELEGATE_INIT;
    delegate.context = host;
    delegate.destroy = destroy;
    delegate.did_receive_update_with_collected_data = receive;
    delegate.status = grant;
    return delegate;
}

/// What a function returned that may pass on the failure of a callback.
static void note(struct host* host, int result) {
    CHECK(result == 0 || result == -1234);
    host->failures += result != 0;
}

static int act(struct host* host) {
    if (++host->callbacks != host->turn) {
        return 0;
    }
    const ambrel_delegate again = delegate_of(host);
    switch (host->manner) {
    case NOTHING:
        break;
    case RELEASE_ALL:
        host->platform = ambrel_simulated_unref(host->platform);
        // fallthrough
    case RELEASE:
        host->kit = ambrel_kit_unref(host->kit);
        CHECK(host->destroyed == 0); // not under its own feet
        break;
    case FAIL:
        return -1234;
    case RESTART:
        CHECK(ambrel_kit_stop_scanning(host->kit, NULL) == 0);
        CHECK(ambrel_kit_start_scanning_once(host->kit, NULL) == 0);
        break;
    case STOP:
        CHECK(ambrel_kit_stop_scanning(host->kit, NULL) == 0);
        break;
    case REPLACE:
        CHECK(ambrel_kit_set_delegate(host->kit, &again, NULL) == 0);
        CHECK(host->destroyed == 0);
        break;
    }
    return 0;
}

#endif
