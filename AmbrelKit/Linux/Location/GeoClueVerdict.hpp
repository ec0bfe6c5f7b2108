#ifndef AMBRELKIT_LINUX_LOCATION_GEOCLUEVERDICT_HPP
#define AMBRELKIT_LINUX_LOCATION_GEOCLUEVERDICT_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace AmbrelKit::Linux {

/// What GeoClue said last to this loop's managers: `loop->shared<GeoClueVerdict>()`, remembered for
/// as long as somebody holds it. To ask GeoClue for this alone is out of the question: it may ask
/// the user.
class GeoClueVerdict {
public:
    explicit GeoClueVerdict(std::weak_ptr<EventLoop> loop) : loop_(std::move(loop)) {}

    static std::shared_ptr<GeoClueVerdict> make(const std::shared_ptr<EventLoop>& loop) {
        return std::make_shared<GeoClueVerdict>(loop);
    }

    void tell(bool refused) {
        const auto loop = loop_.lock();
        if (std::exchange(refused_, refused) != refused && loop) {
            followers_.each([&](const auto& changed) { loop->guarded(changed); });
        }
    }

    /// `changed` is called for as long as it lives.
    void follow(std::weak_ptr<const std::function<void()>> changed) {
        followers_.add(std::move(changed));
    }

    [[nodiscard]] bool refused() const { return refused_; }

private:
    std::weak_ptr<EventLoop> loop_;
    bool refused_ = false;
    WeakList<const std::function<void()>> followers_;
};

} // namespace AmbrelKit::Linux

#endif
