#ifndef AMBRELKIT_INTERNAL_KITTHREAD_HPP
#define AMBRELKIT_INTERNAL_KITTHREAD_HPP

#include <atomic>
#include <cassert>
#include <cstddef>
#include <pthread.h>

namespace AmbrelKit {

/// Held by each facade: all kits that the process has at a time live on one thread. A debug build
/// asserts it; a release build does not look.
class KitThread {
public:
    KitThread() {
        if (kits_++ == 0) {
            thread_ = pthread_self();
        }
        check();
    }
    KitThread(const KitThread&) = delete;
    KitThread& operator=(const KitThread&) = delete;
    ~KitThread() {
        check();
        --kits_;
    }

    void check() const {
        assert(pthread_equal(thread_, pthread_self()) != 0 &&
               "AmbrelKit is used on another thread than the one that its kits live on");
    }

private:
    inline static std::atomic<std::size_t> kits_ = 0;
    inline static std::atomic<pthread_t> thread_ = 0;
};

} // namespace AmbrelKit

#endif
