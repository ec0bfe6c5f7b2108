#ifndef AMBRELKIT_LINUX_LIFECYCLE_LOGIND_HPP
#define AMBRELKIT_LINUX_LIFECYCLE_LOGIND_HPP

#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

class Logind;

/// Has logind wait with sleep, a few seconds at most, so that what runs can be brought to an end:
/// from when logind grants it until it is dropped, or sleep was announced and its handler has run.
class SleepDelay final : public std::enable_shared_from_this<SleepDelay> {
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
/// When the machine has resumed, or the session of this process (else the one on its user's
/// display) becomes active, ApplicationDidBecomeActiveNotification is posted to the thread's
/// notification centre. Without logind nothing comes; without a bus it is not looked for again
/// until the next delay is asked for.
class Logind final : public std::enable_shared_from_this<Logind> {
public:
    static std::shared_ptr<Logind> make(const std::shared_ptr<EventLoop>& loop);

    /// `why` is for people. `timeIsUp` is called from the loop, once, when the machine is about to
    /// sleep; it may drop the delay.
    [[nodiscard]] std::shared_ptr<SleepDelay> delaySleep(const std::string& why,
                                                         std::function<void()> timeIsUp);

private:
    friend class SleepDelay;
    explicit Logind(std::shared_ptr<EventLoop> loop) : loop_(std::move(loop)) {}
    void follow();
    void ownerChanged(const std::string& owner);
    void sleepAnnounced(sd_bus_message* signal);
    void sessionFound(sd_bus_message* reply);
    void sessionChanged(sd_bus_message* signal);
    [[nodiscard]] BusReceiver receiver(void (Logind::*handler)(sd_bus_message*));
    template <class Visit> void eachDelay(const Visit& visit);

    std::shared_ptr<EventLoop> loop_;
    std::vector<std::weak_ptr<SleepDelay>> delays_;
    std::shared_ptr<SystemBus> bus_; ///< null when there is none
    std::shared_ptr<NameWatch> name_;

    // Of the logind that runs now; empty while none does.
    std::string owner_;
    std::shared_ptr<SignalMatch> sleep_;
    std::unique_ptr<PendingCall> sessionQuestion_;
    std::shared_ptr<SignalMatch> session_;
};

} // namespace AmbrelKit::Linux

#endif
