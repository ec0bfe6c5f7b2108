#ifndef AMBRELKIT_INTERNAL_KITTHREAD_HPP
#define AMBRELKIT_INTERNAL_KITTHREAD_HPP

#include <atomic>
#include <cassert>
#include <cstddef>

namespace AmbrelKit {

/// Held by each facade: all kits that the process has at a time live on one thread. A debug build
/// asserts it; a release build does not look.
class KitThread {
public:
    KitThread() {
        if (kits_++ == 0) {
            thread_ = here();
        }
        check();
    }
    KitThread(const KitThread&) = delete;
    KitThread& operator=(const KitThread&) = delete;
    ~KitThread() { --kits_; }

    void check() const {
        assert(thread_ == here() &&
               "AmbrelKit is used on another thread than the one that its kits live on");
    }

private:
    /// An address that no two threads have in common.
    static const void* here() {
        thread_local const char place = 0;
        return &place;
    }

    inline static std::atomic<std::size_t> kits_ = 0;
    inline static std::atomic<const void*> thread_ = nullptr;
};

} // namespace AmbrelKit

#endif
