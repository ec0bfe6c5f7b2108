#ifndef AMBRELKIT_LINUX_RUNLOOP_OFTHISTHREAD_HPP
#define AMBRELKIT_LINUX_RUNLOOP_OFTHISTHREAD_HPP

#include <memory>
#include <unistd.h>
#include <utility>

namespace AmbrelKit::Linux {

/// The calling thread's own `make()`, a shared pointer: made on first use and kept until the thread
/// ends. The main thread's is never destroyed, so that what runs after main still finds it. Each
/// place that calls this has an object of its own.
template <class Make> auto ofThisThread(Make make) {
    using Object = decltype(make());
    struct Destroy {
        void operator()(Object** kept) const { delete std::exchange(*kept, nullptr); }
    };
    thread_local Object* kept = nullptr;
    if (kept == nullptr) {
        kept = new Object(make());
        if (gettid() != getpid()) {
            thread_local const std::unique_ptr<Object*, Destroy> untilTheThreadEnds(&kept);
        }
    }
    return *kept;
}

} // namespace AmbrelKit::Linux

#endif
