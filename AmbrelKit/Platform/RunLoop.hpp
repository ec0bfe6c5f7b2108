#ifndef AMBRELKIT_PLATFORM_RUNLOOP_HPP
#define AMBRELKIT_PLATFORM_RUNLOOP_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/Timer.hpp"

#include <memory>

namespace AmbrelKit {

/// Waits for what the kit's sources have to report, and runs it. A loop belongs to one thread;
/// every call is made there, `stop()` too. A debug build of the kit asserts that.
///
/// A host without a loop of its own calls `run()`. A host with one (GLib, Qt, asio, epoll …) polls
/// `fileDescriptor()` for reading and calls `dispatch()` whenever it is readable; nothing else is
/// needed. `AmbrelKit/Adapters` does so for GLib, Qt and asio.
class AMBRELKIT_API RunLoop {
public:
    virtual ~RunLoop() = default;

    /// The loop of the calling thread, made on first use and kept until the thread ends; the main
    /// thread's is never destroyed. Throws std::system_error when the system gives no descriptor
    /// for it, or libsystemd can't be loaded. From then on a timer needs no further one.
    static std::shared_ptr<RunLoop> current();

    /// Runs until `stop()` is called. What a callback throws leaves through here; the loop may be
    /// run again. Throws std::logic_error when it is called from a callback of the same loop.
    virtual void run() = 0;

    /// Makes `run()` return after the callback that is running. When the loop is not running, the
    /// next `run()` returns at once.
    virtual void stop() = 0;

    /// Becomes readable when there is something to dispatch. Owned by the loop; only to be polled.
    [[nodiscard]] virtual int fileDescriptor() const = 0;

    /// Runs what is due now, without waiting. What a callback throws leaves through here; the rest
    /// stays due. Throws std::logic_error as `run()` does.
    virtual void dispatch() = 0;

    /// Schedules a timer on this loop, as `TimerFactory` says. An interval of less than 0.1 ms, or
    /// of more than 1e9 s, is taken for that. Ticks that came due while the loop did not run are
    /// one.
    [[nodiscard]] virtual std::shared_ptr<Timer> scheduledTimer(double interval, bool repeats,
                                                                TimerTick tick) = 0;
};

} // namespace AmbrelKit

#endif
