// Replays a script of one delivery, and has the real platform deliver at once, since it permits
// nothing.
#include <ambrelkit-simulated.h>

#include <stdio.h>

static void print(void* context, const char* text, size_t length) {
    (void)context;
    fwrite(text, 1, length, stdout);
}

static int receive(void* context, const char* json, size_t length) {
    print(context, json, length);
    return puts("") < 0;
}

int main(void) {
    static const char script[] = "{\"ambrelReplay\":1}\n{\"at\":0,\"host\":\"startScanning\"}\n";
    ambrel_trace trace = AMBREL_TRACE_INIT;
    trace.line = print;
    ambrel_delegate delegate = AMBREL_DELEGATE_INIT;
    delegate.did_receive_update_with_collected_data = receive;
    ambrel_kit* kit = NULL;
    const int failed =
        ambrel_replay(script, sizeof script - 1, AMBREL_REPLAY_QUIET, &trace, NULL) < 0 ||
        ambrel_kit_new(NULL, &kit, NULL) < 0 || ambrel_kit_set_delegate(kit, &delegate, NULL) < 0 ||
        ambrel_kit_start_scanning_once(kit, NULL) < 0;
    ambrel_kit_unref(kit);
    return failed;
}
