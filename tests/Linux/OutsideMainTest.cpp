#include "tests/support/OutsideMain.hpp"
#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

using namespace AmbrelKit;

namespace {

class LinuxMachine {
public:
    static std::shared_ptr<AmbrelSDK> create() { return AmbrelSDK::create(); }

    /// Two ticks, between which the clock goes on by the rest of the collection.
    static void passCollection() {
        const auto loop = RunLoop::current();
        const auto clock = Environment::shared().currentDate;
        const auto later = loop->scheduledTimer(1.5, false, [&](Timer&) {
            Environment::shared().currentDate = [clock] {
                return clock() + std::chrono::seconds(10);
            };
        });
        const auto end = loop->scheduledTimer(2.5, false, [&](Timer&) { loop->stop(); });
        loop->run();
    }

    [[nodiscard]] static std::string address() {
        return Linux::Interfaces().addressIPv4().address.value_or("");
    }
};

OutsideMain<LinuxMachine> host;

} // namespace

int main() {
    if (!host.hasCollected()) {
        host.collect();
    }
}
