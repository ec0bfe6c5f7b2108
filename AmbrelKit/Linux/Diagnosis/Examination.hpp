#ifndef AMBRELKIT_LINUX_DIAGNOSIS_EXAMINATION_HPP
#define AMBRELKIT_LINUX_DIAGNOSIS_EXAMINATION_HPP

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace AmbrelKit::Linux {

/// What stands behind the examinations: the loop, and who is on its bus.
struct Surroundings {
    std::shared_ptr<EventLoop> loop;
    LocationOptions location;
    std::shared_ptr<SystemBus> bus;
    bool busAnswers = false;
    bool busDrops = false;                ///< it takes this program's connection, and closes it
    std::set<std::string> running = {};   ///< the names that have an owner
    std::set<std::string> startable = {}; ///< the names whose daemons the bus can start
};

/// What was found of a source.
struct Finding {
    bool usable = false;
    std::string finding;
    std::string remedy;
};

inline Finding works(std::string with) { return {true, std::move(with), {}}; }

inline Finding fails(std::string reason, std::string remedy) {
    return {false, std::move(reason), std::move(remedy)};
}

// What sources on the bus have in common.
Finding failsWithoutBus(const Surroundings& surroundings);
/// The daemon is there, and silent. `unit` is what systemd calls it.
Finding failsWithoutAnswer(const std::string& unit);

/// Takes what was found; called once.
using Report = std::function<void(Finding)>;

/// What keeps an examination going; dropped, it reports no more.
using Examination = std::shared_ptr<void>;

// Each may report inside the call, and then returns null.
Examination examineBluetooth(const Surroundings& surroundings, const Report& report);
Examination examineServices(const Surroundings& surroundings, const Report& report);
Examination examineLocation(const Surroundings& surroundings, const Report& report);
Examination examineAddress(const Surroundings& surroundings, const Report& report);
Examination examineWifi(const Surroundings& surroundings, const Report& report);
Examination examineLifecycle(const Surroundings& surroundings, const Report& report);

/// How long a daemon may take to answer.
inline constexpr std::chrono::seconds daemonPatience{3};

/// Calls a method, and hands the reply to `answered`, or null when there is none in time.
Examination askDaemon(const Surroundings& surroundings, const BusMethod& method,
                      const BusArguments& arguments, const BusReceiver& answered);

} // namespace AmbrelKit::Linux

#endif
