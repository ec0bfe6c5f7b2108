#ifndef AMBREL_MACHINEFEED_HPP
#define AMBREL_MACHINEFEED_HPP

#include "tools/ambrel/Collecting/CollectionOptions.hpp"
#include "tools/ambrel/Collecting/CommandLineHost.hpp"
#include "tools/ambrel/Live/Feed.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>
#include <AmbrelKit/Platform/Timer.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace Ambrel {

/// Collections of this machine back to back. While it is paused nothing is collected.
class MachineFeed final : public Feed {
public:
    explicit MachineFeed(const CollectionOptions& options);

    [[nodiscard]] Moment now() const override;
    [[nodiscard]] bool runs() const override { return running_.has_value(); }
    void pause() override;
    void goOn() override;
    [[nodiscard]] std::string state() const override;

private:
    using Clock = std::chrono::steady_clock;

    void collectAgain();

    std::optional<Clock::time_point> running_; ///< since then
    Clock::duration before_{};                 ///< that it was running
    std::shared_ptr<AmbrelKit::SourceReports> sources_;
    std::shared_ptr<PlatformObserver> observer_;
    std::shared_ptr<void> observedNetwork_;
    std::shared_ptr<CommandLineHost> host_;
    std::shared_ptr<AmbrelKit::AmbrelSDK> kit_;
    std::shared_ptr<AmbrelKit::Timer> again_;
};

} // namespace Ambrel

#endif
