#ifndef AMBRELKIT_LINUX_LIFECYCLE_LOGIND_HPP
#define AMBRELKIT_LINUX_LIFECYCLE_LOGIND_HPP

#include "AmbrelKit/Linux/Bus/Daemon.hpp"
#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "AmbrelKit/Linux/Lifecycle/CollectionClock.hpp"
#include "AmbrelKit/Linux/Lifecycle/SessionWatch.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace AmbrelKit::Linux {

class Logind;

/// Has logind wait with sleep, a few seconds at most, so that what runs can be brought to an end:
/// from when logind grants it until it is dropped, or sleep was announced and its handler has run.
class SleepDelay final : public std::enable_shared_from_this<SleepDelay> {
public:
    ~SleepDelay();
    SleepDelay(const SleepDelay&) = delete;
    SleepDelay& operator=(const SleepDelay&) = delete;

private:
    friend class Logind;
    SleepDelay(std::shared_ptr<Logind> logind, const std::string& why,
               std::function<void()> timeIsUp);
    void request();
    void replied(sd_bus_message* reply);
    void expire();
    [[nodiscard]] bool isRequested() const { return question_ || inhibitor_.get() >= 0; }

    std::shared_ptr<Logind> logind_;
    std::string why_;
    std::function<void()> timeIsUp_;
    bool expired_ = false;
    std::unique_ptr<PendingCall>
        question_; ///< dropped with it, a late reply's descriptor is closed
    Descriptor inhibitor_;
};

/// logind as the loop's bus connection sees it: `loop->shared<Logind>()`. To be held by who wants
/// to delay sleep or to hear of activation: as long as it lives it is subscribed.
///
/// ApplicationDidBecomeActiveNotification is posted to the thread's notification centre when the
/// machine has resumed, and when the session by which this process's user sees it (`SessionWatch`
/// says which) becomes the active one of its seat: by a login, or a switch to it. What the session
/// does on the way into sleep and out of it belongs to the resume, which is one activation.
///
/// A collection does not tick from the announcement of sleep until the resume, and ticks then, at
/// once. So a collection that sleep has interrupted keeps what it had seen, and where it is over by
/// then that is delivered; and the resume is told only once the interrupted collection is too old
/// to be delivered again in its answer, so that it begins a new one.
///
/// Without logind nothing comes; without a bus it is not looked for again until the next delay is
/// asked for.
class Logind final : public std::enable_shared_from_this<Logind> {
public:
    static std::shared_ptr<Logind> make(const std::shared_ptr<EventLoop>& loop);
    ~Logind();
    Logind(const Logind&) = delete;
    Logind& operator=(const Logind&) = delete;

    /// `why` is for people. `timeIsUp` is called from the loop, once, when the machine is about to
    /// sleep; it may drop the delay.
    [[nodiscard]] std::shared_ptr<SleepDelay> delaySleep(const std::string& why,
                                                         std::function<void()> timeIsUp);

private:
    friend class SleepDelay;
    /// From the announcement of sleep until the resume.
    struct Sleep {
        explicit Sleep(CollectionClock& clock) : pause(clock), interrupted(clock.begun()) {}

        CollectionClock::Pause pause;
        std::optional<CollectionClock::Boot> interrupted; ///< when that collection was begun
    };

    explicit Logind(const std::shared_ptr<EventLoop>& loop)
        : loop_(loop), board_(loop->shared<LoopBoard>()) {}
    void follow();
    void ownerChanged(const std::string& owner);
    void sleepAnnounced(sd_bus_message* signal);
    void fallAsleep();
    void resume();
    void sessionChanged(const std::string& session, bool active);
    void postActivation();
    void publish();
    [[nodiscard]] SourceCondition condition() const;

    std::shared_ptr<EventLoop> loop_;
    std::shared_ptr<LoopBoard> board_;
    std::shared_ptr<Deadline> resumed_; ///< tells of the resume
    std::chrono::steady_clock::time_point toldAt_ = std::chrono::steady_clock::time_point::min();
    WeakList<SleepDelay> delays_;
    std::optional<bool> isActive_;   ///< the session; absent until it is known
    std::shared_ptr<SystemBus> bus_; ///< null when there is none
    std::shared_ptr<NameWatch> name_;

    // Of the logind that runs now; null while none does.
    std::unique_ptr<Daemon> daemon_;
    std::unique_ptr<SessionWatch> session_;
    std::unique_ptr<Sleep> sleep_;           ///< null while the machine is awake
    std::optional<std::string> sessionName_; ///< absent until it is known, empty for none
    std::optional<bool> refusesDelays_;      ///< absent until it has answered one
};

} // namespace AmbrelKit::Linux

#endif
