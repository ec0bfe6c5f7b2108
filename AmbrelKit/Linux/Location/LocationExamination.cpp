#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// For an answer, and for the fix after it.
constexpr std::chrono::seconds patience{6};

/// For what one that fails may still find out about itself.
constexpr std::chrono::milliseconds settling{250};

/// Uses the source as a collection would, until it has a fix.
class FixExamination final : public LocationSourceOwner,
                             public std::enable_shared_from_this<FixExamination> {
public:
    FixExamination(Surroundings surroundings, Report report)
        : surroundings_(std::move(surroundings)), report_(std::move(report)) {}

    void begin(const ChosenSource& chosen) {
        source_ = chosen.make(weak_from_this());
        end_ = surroundings_.loop->deadline(
            weakly(weak_from_this(), [](FixExamination& self) { self.report(self.judged()); }));
        wait();
    }

    void sourceDidChange(LocationSource& /*changed*/) override { wait(); }

    void sourceDidFix(LocationSource& fixed, std::vector<LocationFix> /*fixes*/) override {
        report(works(fixed.condition().means));
    }

private:
    /// For as long as there may still be a fix.
    void wait() {
        const SourceState state = source_->condition().state;
        const auto settled = std::chrono::steady_clock::now() + settling;
        end_->arm(state == SourceState::starting || state == SourceState::listening
                      ? begin_ + patience
                      : settled);
    }

    [[nodiscard]] Finding judged() const {
        const auto condition = source_->condition();
        return fails(condition.reason, condition.remedy);
    }

    void report(Finding found) {
        const auto keep = shared_from_this();
        end_->disarm();
        source_.reset();
        if (const auto report = std::exchange(report_, nullptr)) {
            report(std::move(found));
        }
    }

    Surroundings surroundings_;
    Report report_;
    std::shared_ptr<LocationSource> source_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::shared_ptr<Deadline> end_;
};

} // namespace

Examination examineLocation(const Surroundings& surroundings, const Report& report) {
    const auto chosen = chosenSource(surroundings.loop, surroundings.location);
    if (!chosen.make) {
        report(chosen.instead.state == SourceState::idle
                   ? works("none, as chosen")
                   : fails(chosen.instead.reason, chosen.instead.remedy));
        return nullptr;
    }
    const auto examination = std::make_shared<FixExamination>(surroundings, report);
    examination->begin(chosen);
    return examination;
}

} // namespace AmbrelKit::Linux
