#ifndef AMBRELKIT_ADAPTERS_ASIO_HPP
#define AMBRELKIT_ADAPTERS_ASIO_HPP

#include "AmbrelKit/Platform/RunLoop.hpp"

#include <memory>
#include <utility>

namespace AmbrelKit::Adapters {

/// Has an asio context run what is due on the calling thread's `RunLoop`, for as long as this is
/// kept; until then the context does not run out of work. Made and dropped on that thread, the only
/// one that may run the context (or the strand that is handed in), and dropped before the context;
/// it may be dropped inside a callback of the kit. While such a callback runs the context itself,
/// nothing of the kit runs. What a callback of the host throws leaves through the context's
/// `run()`, which may be called again.
///
/// A header alone, for asio as for Boost: `Descriptor` is `asio::posix::stream_descriptor` or
/// `boost::asio::posix::stream_descriptor`, whose header the host includes.
template <class Descriptor> class AsioDriver {
public:
    /// `context` is an io_context, or an executor of one. Throws std::system_error when the system
    /// gives no descriptor for the `RunLoop`, and what asio throws when it cannot watch it.
    template <class Context> explicit AsioDriver(Context& context)
        : AsioDriver(RunLoop::current(), context) {}
    /// The descriptor stays the RunLoop's.
    ~AsioDriver() { descriptor_->release(); }
    AsioDriver(const AsioDriver&) = delete;
    AsioDriver& operator=(const AsioDriver&) = delete;

private:
    template <class Context> AsioDriver(std::shared_ptr<RunLoop> loop, Context& context)
        : descriptor_(std::make_shared<Descriptor>(context, loop->fileDescriptor())) {
        wait(std::move(loop), descriptor_);
    }

    static void wait(std::shared_ptr<RunLoop> loop, const std::weak_ptr<Descriptor>& watched) {
        if (const auto descriptor = watched.lock()) {
            descriptor->async_wait(Descriptor::wait_read,
                                   [loop = std::move(loop), watched](const auto& error) {
                                       if (error || watched.expired()) {
                                           return;
                                       }
                                       try {
                                           loop->dispatch();
                                       } catch (...) {
                                           wait(loop, watched);
                                           throw;
                                       }
                                       wait(loop, watched);
                                   });
        }
    }

    std::shared_ptr<Descriptor> descriptor_;
};

} // namespace AmbrelKit::Adapters

#endif
