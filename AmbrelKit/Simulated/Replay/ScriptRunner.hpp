#ifndef AMBRELKIT_SIMULATED_REPLAY_SCRIPTRUNNER_HPP
#define AMBRELKIT_SIMULATED_REPLAY_SCRIPTRUNNER_HPP

#include "AmbrelKit/Simulated/Host.hpp"
#include "AmbrelKit/Simulated/Platform.hpp"
#include "AmbrelKit/Simulated/Replay/Script.hpp"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace AmbrelKit::Simulated {

/// Has the action happen on the platform; false, and nothing, where it is one of the script's host.
bool happen(Platform& platform, const ScriptAction& action);

/// Runs the steps of a script on a platform, with a host of its own.
class ScriptRunner {
public:
    /// The platform is a new one with the header's settings, and has to live as long. `sink` is
    /// told everything that the kit does, until the runner goes or a step fails.
    AMBRELKIT_SEAM ScriptRunner(Platform& platform, const ScriptHeader& header,
                                EventSink sink = {});
    ScriptRunner(const ScriptRunner&) = delete;
    ScriptRunner& operator=(const ScriptRunner&) = delete;

    /// Silent: what is torn down here is no part of a run.
    AMBRELKIT_SEAM ~ScriptRunner();

    /// Runs the timers that are due by then, and the step. Throws ScriptError when the script
    /// has the host call a facade that it has released; nothing is to be run after that.
    AMBRELKIT_SEAM void run(const ScriptStep& step);

private:
    /// What the host does at the next delivery, and the line that says so.
    using DeliveryCalls = std::pair<std::size_t, std::vector<HostCall>>;

    void perform(const HostCall& call, std::size_t line);
    void setThreshold(std::int64_t seconds);
    void handleDelivery();

    Platform& platform_;
    Host host_;
    std::optional<DeliveryCalls> onDelivery_;
};

} // namespace AmbrelKit::Simulated

#endif
