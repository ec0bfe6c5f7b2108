// The store as a host in C uses it.
#include "tests/C/Check.h"

#include <math.h>

struct visit {
    int result; ///< of each visit
    int count;
    int skipped;
    char last[256];
};

static int visit(void* context, const char* json, size_t length) {
    struct visit* seen = context;
    CHECK(length == strlen(json) && length < sizeof seen->last);
    memcpy(seen->last, json, length + 1);
    ++seen->count;
    return seen->result;
}

static void skipped(void* context, const char* line) {
    CHECK(strlen(line) > 0);
    ++((struct visit*)context)->skipped;
}

static int save(const char* json) { return ambrel_store_save(json, strlen(json), NULL); }

static void keeps_dictionaries(void) {
    char folder[] = "/tmp/ambrel-c-store-XXXXXX";
    CHECK(mkdtemp(folder) != NULL);
    setenv("AMBREL_DOCUMENTS_DIR", folder, 1);
    struct visit seen = {0};
    ambrel_store_visitor visitor = AMBREL_STORE_VISITOR_INIT;
    visitor.context = &seen;
    visitor.visit = visit;
    visitor.skipped = skipped;
    CHECK(ambrel_store_for_each(&visitor, NULL) == 0);
    CHECK(seen.count == 0 && seen.skipped == 1); // there is no folder yet

    CHECK(save("{\"timestamp\": 3}") == 1);
    CHECK(save("{\"timestamp\": 1, \"name\": \"caf\xc3\xa9\"}") == 1);
    CHECK(save("{\"timestamp\": true}") == 0);
    CHECK_FAILS(ambrel_store_save("[1]", 3, &error), -EBADMSG, AMBREL_ERROR_DOMAIN_JSON, 1);
    CHECK_FAILS(ambrel_store_save("{,}", 3, &error), -EBADMSG, AMBREL_ERROR_DOMAIN_JSON, 2);
    CHECK_IS_ERRNO(ambrel_store_save(NULL, 0, &error), EINVAL);
    CHECK(ambrel_store_for_each(&visitor, NULL) == 0 && seen.count == 2);
    CHECK(ambrel_store_for_each_between(-INFINITY, 2, &visitor, NULL) == 0 && seen.count == 3);
    CHECK(strcmp(seen.last, "{\"name\":\"caf\xc3\xa9\",\"timestamp\":1}") == 0);
    seen.result = 5; // enough
    CHECK(ambrel_store_for_each(&visitor, NULL) == 5 && seen.count == 4);
    seen.result = -5;
    CHECK_FAILS(ambrel_store_for_each(&visitor, &error), -5, AMBREL_ERROR_DOMAIN_CALLBACK, -5);
    visitor.visit = NULL;
    CHECK_IS_ERRNO(ambrel_store_for_each(&visitor, &error), EINVAL);

    char* text = NULL;
    CHECK(ambrel_store_file_name("{\"timestamp\": 3}", 16, &text, NULL) == 1 &&
          strcmp(text, "3.0") == 0);
    ambrel_free(text);
    CHECK(ambrel_store_file_name("{}", 2, &text, NULL) == 0 && text == NULL);
    CHECK(ambrel_store_path(&text, NULL) == 0 && strstr(text, folder) == text);
    ambrel_free(text);
    CHECK(ambrel_store_documents_path(&text, NULL) == 1 && strcmp(text, folder) == 0);
    ambrel_free(text);

    CHECK(ambrel_store_delete("{\"timestamp\": 3}", 16, NULL) == 1);
    CHECK_FAILS(ambrel_store_delete("{\"timestamp\": 3}", 16, &error), -EIO,
                AMBREL_ERROR_DOMAIN_STORE, 0);
    CHECK(ambrel_store_delete("{\"timestamp\": 1}", 16, NULL) == 1);
    char path[64];
    snprintf(path, sizeof path, "%s/collections", folder);
    CHECK(remove(path) == 0 && remove(folder) == 0);
}

static void knows_its_version(void) {
    CHECK(strcmp(ambrel_version(), AMBREL_VERSION) == 0);
    CHECK(ambrel_version_number() == AMBREL_VERSION_NUMBER);
}

int main(int argc, char** argv) {
    static const struct test_case cases[] = {
        {"KeepsDictionaries", keeps_dictionaries},
        {"KnowsItsVersion", knows_its_version},
    };
    return run_case(cases, sizeof cases / sizeof *cases, argc, argv);
}
