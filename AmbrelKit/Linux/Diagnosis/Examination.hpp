#ifndef AMBRELKIT_LINUX_DIAGNOSIS_EXAMINATION_HPP
#define AMBRELKIT_LINUX_DIAGNOSIS_EXAMINATION_HPP

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace AmbrelKit::Linux {

/// Has one source asked as a collection does, and judges what the board says of it then. It asks
/// nobody itself but for what no collection needs to know: whether a daemon that does not run is
/// installed, and which one runs.
class Examination final : public std::enable_shared_from_this<Examination> {
public:
    /// `answered` is called from the loop when `look` may find more; the board is the caller's to
    /// follow.
    static std::shared_ptr<Examination> start(const std::shared_ptr<EventLoop>& loop,
                                              const LocationOptions& location, MDNSStack mdns,
                                              Source source, std::function<void()> answered);

    Examination(const std::shared_ptr<EventLoop>& loop, MDNSStack mdns, Source source,
                std::function<void()> answered);

    /// Finds something once nothing more is to be expected, at `end()` at the latest, and lets the
    /// source be then.
    void look();

    [[nodiscard]] const std::optional<SourceDiagnosis>& found() const { return found_; }
    [[nodiscard]] std::chrono::steady_clock::time_point end() const { return end_; }

private:
    void ask(const LocationOptions& location);
    void askForAddress();
    void askForNetwork();
    [[nodiscard]] bool isSettled(const SourceCondition& condition) const;
    [[nodiscard]] bool isUsable(const SourceCondition& condition) const;
    [[nodiscard]] SourceDiagnosis judged(const SourceCondition& condition) const;
    bool isProbing(const SourceCondition& condition);
    void probe(const BusMethod& method);
    void probed(sd_bus_message* reply);

    MDNSStack mdns_;
    Source source_;
    std::function<void()> answered_;
    std::shared_ptr<SystemBus> bus_;
    std::shared_ptr<LoopBoard> board_;
    std::chrono::steady_clock::time_point end_;
    std::shared_ptr<void> asked_;           ///< has the source asked
    std::optional<SourceCondition> answer_; ///< of one that answers at once
    std::unique_ptr<PendingCall> probe_;    ///< under way
    bool wasProbed_ = false;
    bool isInstalled_ = true;
    std::string detail_; ///< beside the means
    std::optional<SourceDiagnosis> found_;
};

} // namespace AmbrelKit::Linux

#endif
