// example_check.h - the check used by the compiled header examples: on a mismatch it reports
// the failed condition and makes the example's main() return 1.
#ifndef KY_EXAMPLES_EXAMPLE_CHECK_H
#define KY_EXAMPLES_EXAMPLE_CHECK_H

#include <cstdio>

#define CHECK(condition)                                                                           \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                   \
            return 1;                                                                              \
        }                                                                                          \
    } while (0)

#endif // KY_EXAMPLES_EXAMPLE_CHECK_H
