// Takes one collection and prints it.
// cc -std=c99 minimal.c -o minimal $(pkg-config --cflags --libs ambrelkit)
#include <ambrelkit.h>

#include <stdio.h>

static int receive(void* context, const char* json, size_t length) {
    (void)context;
    fwrite(json, 1, length, stdout);
    puts("");
    return ambrel_loop_stop(NULL);
}

// What your users have allowed you; the kit takes your word for it.
static int status(void* context, int question, int64_t* answer) {
    (void)context;
    (void)question;
    *answer = AMBREL_STATUS_GRANTED;
    return 0;
}

int main(void) {
    // The DNS-SD types to look for; an Info.json beside the program may list them instead.
    static const char* const types[] = {"_ipp._tcp", "_http._tcp", NULL};
    ambrel_kit_options options = AMBREL_KIT_OPTIONS_INIT;
    options.service_types = types;
    ambrel_delegate delegate = AMBREL_DELEGATE_INIT;
    delegate.did_receive_update_with_collected_data = receive;
    delegate.status = status;
    ambrel_kit* kit = NULL;
    ambrel_error error = AMBREL_ERROR_INIT;
    const int failed = ambrel_kit_new(&options, &kit, &error) < 0 ||
                       ambrel_kit_set_delegate(kit, &delegate, &error) < 0 ||
                       ambrel_kit_start_scanning_once(kit, &error) < 0 ||
                       ambrel_loop_run(&error) < 0;
    if (failed) {
        fprintf(stderr, "%s\n", error.description);
    }
    ambrel_error_free(&error);
    ambrel_kit_unref(kit);
    return failed;
}
