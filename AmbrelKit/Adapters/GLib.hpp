#ifndef AMBRELKIT_ADAPTERS_GLIB_HPP
#define AMBRELKIT_ADAPTERS_GLIB_HPP

#include "AmbrelKit/Platform/RunLoop.hpp"

#include <exception>
#include <functional>
#include <glib-unix.h>
#include <memory>
#include <utility>

namespace AmbrelKit::Adapters {

/// Has a GLib main context (and so GTK) run what is due on the calling thread's `RunLoop`, for as
/// long as this is kept. Made and dropped on that thread, which is to iterate the context; it may
/// be dropped inside a callback of the kit. While such a callback iterates the context itself,
/// nothing of the kit runs. A header alone: a host that includes it links glib-2.0.
class GLibDriver {
public:
    /// What a callback of the host threw; called in its place, from the context. It may not throw.
    using Failed = std::function<void(std::exception_ptr)>;

    /// `context` is the default one where it is null; it is referenced. An exception cannot leave
    /// through GLib: `failed` is given it, and without that the process is terminated. Throws
    /// std::system_error when the system gives no descriptor for the `RunLoop`.
    explicit GLibDriver(GMainContext* context = nullptr, Failed failed = {}) {
        auto duty = std::make_unique<Duty>(Duty{RunLoop::current(), std::move(failed)});
        source_ = g_unix_fd_source_new(duty->loop->fileDescriptor(), G_IO_IN);
        g_source_set_callback(source_, G_SOURCE_FUNC(run), duty.release(), forget);
        g_source_attach(source_, context);
    }
    ~GLibDriver() {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    GLibDriver(const GLibDriver&) = delete;
    GLibDriver& operator=(const GLibDriver&) = delete;

private:
    // GLib keeps it until a callback that runs has returned, also when the driver is gone.
    struct Duty {
        std::shared_ptr<RunLoop> loop;
        Failed failed;
    };

    static gboolean run(gint /*descriptor*/, GIOCondition /*condition*/, gpointer self) noexcept {
        const auto* duty = static_cast<Duty*>(self);
        try {
            duty->loop->dispatch();
        } catch (...) {
            if (!duty->failed) {
                std::terminate();
            }
            duty->failed(std::current_exception());
        }
        return G_SOURCE_CONTINUE;
    }
    static void forget(gpointer self) { delete static_cast<Duty*>(self); }

    GSource* source_;
};

} // namespace AmbrelKit::Adapters

#endif
