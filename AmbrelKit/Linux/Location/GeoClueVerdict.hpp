#ifndef AMBRELKIT_LINUX_LOCATION_GEOCLUEVERDICT_HPP
#define AMBRELKIT_LINUX_LOCATION_GEOCLUEVERDICT_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

/// What GeoClue said last to this loop's managers: `loop->shared<GeoClueVerdict>()`, remembered for
/// as long as somebody holds it. To ask GeoClue for this alone is out of the question: it may ask
/// the user.
class GeoClueVerdict {
public:
    static std::shared_ptr<GeoClueVerdict> make(const std::shared_ptr<EventLoop>& /*loop*/) {
        return std::make_shared<GeoClueVerdict>();
    }

    void tell(EventLoop& loop, bool refused) {
        if (std::exchange(refused_, refused) == refused) {
            return;
        }
        const auto followers = followers_;
        for (const auto& weak : followers) {
            if (const auto changed = weak.lock()) {
                loop.guarded(*changed);
            }
        }
    }

    /// `changed` is called for as long as it lives.
    void follow(std::weak_ptr<const std::function<void()>> changed) {
        std::erase_if(followers_, [](const auto& weak) { return weak.expired(); });
        followers_.push_back(std::move(changed));
    }

    [[nodiscard]] bool refused() const { return refused_; }

private:
    bool refused_ = false;
    std::vector<std::weak_ptr<const std::function<void()>>> followers_;
};

} // namespace AmbrelKit::Linux

#endif
