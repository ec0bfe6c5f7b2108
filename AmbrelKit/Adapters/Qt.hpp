#ifndef AMBRELKIT_ADAPTERS_QT_HPP
#define AMBRELKIT_ADAPTERS_QT_HPP

#include "AmbrelKit/Platform/RunLoop.hpp"

#include <QPointer>
#include <QSocketNotifier>
#include <exception>
#include <functional>
#include <memory>
#include <utility>

namespace AmbrelKit::Adapters {

/// Has the Qt event loop of the calling thread run what is due on that thread's `RunLoop`, for as
/// long as this is kept. Made after the application object and dropped before it, on that thread;
/// it may be dropped inside a callback of the kit. While such a callback runs an event loop of its
/// own, as QDialog::exec() does, nothing of the kit runs. A header alone, which needs no moc: a
/// host that includes it links Qt 6 Core.
class QtDriver {
public:
    /// What a callback of the host threw; called in its place, from the event loop. It may not
    /// throw.
    using Failed = std::function<void(std::exception_ptr)>;

    /// Begins. An exception cannot leave through Qt: `failed` is given it, and without that the
    /// process is terminated. Throws std::system_error when the system gives no descriptor for the
    /// `RunLoop`.
    explicit QtDriver(Failed failed = {})
        : notifier_(std::make_unique<QSocketNotifier>(RunLoop::current()->fileDescriptor(),
                                                      QSocketNotifier::Read)) {
        QObject::connect(notifier_.get(), &QSocketNotifier::activated,
                         [loop = RunLoop::current(), failed = std::move(failed),
                          notifier = QPointer(notifier_.get())] {
                             notifier->setEnabled(false);
                             run(*loop, failed);
                             if (notifier) {
                                 notifier->setEnabled(true);
                             }
                         });
    }

private:
    static void run(RunLoop& loop, const Failed& failed) noexcept {
        try {
            loop.dispatch();
        } catch (...) {
            if (!failed) {
                std::terminate();
            }
            failed(std::current_exception());
        }
    }

    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace AmbrelKit::Adapters

#endif
