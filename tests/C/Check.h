#ifndef AMBREL_TESTS_C_CHECK_H
#define AMBREL_TESTS_C_CHECK_H

#include <ambrelkit.h>

#include <errno.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/// Ends the program unless `condition` holds.
#define CHECK(condition)                                                                           \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                        \
            exit(1);                                                                               \
        }                                                                                          \
    } while (false)

/// The call, whose last argument is `&error`, fails with this number, domain and code.
#define CHECK_FAILS(call, number, domain_, code_)                                                  \
    do {                                                                                           \
        ambrel_error error = AMBREL_ERROR_INIT;                                                    \
        CHECK((call) == (number));                                                                 \
        CHECK(strcmp(error.domain, domain_) == 0);                                                 \
        CHECK(error.code == (code_));                                                              \
        CHECK(strlen(error.description) > 0 && strchr(error.description, '\n') == NULL);           \
        ambrel_error_free(&error);                                                                 \
        CHECK(error.domain == NULL && error.code == 0 && error.description == NULL);               \
    } while (false)

#define CHECK_IS_ERRNO(call, number) CHECK_FAILS(call, -(number), AMBREL_ERROR_DOMAIN_ERRNO, number)

/// As isolate() of tests/support/Isolation.hpp.
const char* isolate_c(void);

/// Runs the case of the table that the program's argument names.
struct test_case {
    const char* name;
    void (*run)(void);
};

static inline int run_case(const struct test_case* cases, size_t count, int argc, char** argv) {
    for (size_t i = 0; i < count && argc == 2; ++i) {
        if (strcmp(cases[i].name, argv[1]) == 0) {
            cases[i].run();
            return 0;
        }
    }
    fprintf(stderr, "no such case\n");
    return 2;
}

#endif
