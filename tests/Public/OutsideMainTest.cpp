#include "tests/support/OutsideMain.hpp"
#include "AmbrelKit/Simulated/Platform.hpp"

using namespace AmbrelKit;

namespace {

class SimulatedMachine {
public:
    SimulatedMachine() { platform_.network().setInterfaces({{"en0", address()}}); }

    std::shared_ptr<AmbrelSDK> create() { return platform_.createSDK({{"_ipp._tcp."}}); }
    void passCollection() { platform_.clock().advanceBy(std::chrono::seconds(11)); }
    [[nodiscard]] static std::string address() { return "192.0.2.1"; }

private:
    Simulated::Platform platform_;
};

OutsideMain<SimulatedMachine> host;

} // namespace

int main() {
    if (!host.hasCollected()) {
        host.collect();
    }
}
