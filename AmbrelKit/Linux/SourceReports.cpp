#include "AmbrelKit/Linux/SourceReports.hpp"

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

class FollowedReports final : public SourceReports {
public:
    FollowedReports(const std::shared_ptr<EventLoop>& loop, std::function<void()> changed)
        : board_(loop->shared<LoopBoard>()) {
        if (changed) {
            tell_ = loop->deadline(std::move(changed));
            noted_ = std::make_shared<const std::function<void()>>(
                [this] { tell_->arm(std::chrono::steady_clock::now()); });
            board_->follow(noted_);
        }
    }

    [[nodiscard]] SourceReport report(Source source) const override {
        return board_->report(source);
    }

private:
    std::shared_ptr<SourceBoard> board_;
    std::shared_ptr<Deadline> tell_;
    std::shared_ptr<const std::function<void()>> noted_;
};

} // namespace

std::shared_ptr<SourceReports> sourceReports(std::function<void()> changed) {
    return std::make_shared<FollowedReports>(EventLoop::current(), std::move(changed));
}

} // namespace AmbrelKit::Linux
