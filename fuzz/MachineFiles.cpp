// What files of this machine may hold that the platform reads: the main bundle's information
// dictionary, the kernel's table of routes, the name of the unit that this process runs in.

#include "AmbrelKit/Linux/Location/DesktopId.hpp"
#include "AmbrelKit/Linux/NearbyDevices/AnnouncedServiceTypes.hpp"
#include "AmbrelKit/Linux/NearbyDevices/UsualServiceTypes.hpp"
#include "AmbrelKit/Linux/Network/PrimaryAddress.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "fuzz/support/Bytes.hpp"

#include <nlohmann/json.hpp>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace AmbrelKit;

void readAsInformation(std::string_view content) {
    const Descriptor file(memfd_create("Info.json", MFD_CLOEXEC));
    check(write(file.get(), content.data(), content.size()) ==
          static_cast<ssize_t>(content.size()));
    setenv("AMBREL_INFO", ("/proc/self/fd/" + std::to_string(file.get())).c_str(), 1);
    const Bundle& bundle = Bundle::main();
    const auto services = bundle.bonjourServices();
    const auto identifier = bundle.identifier();
    const auto problem = bundle.problem();
    check(bundle.infoDictionary().has_value() || problem.has_value());
    check(!identifier || isValidUTF8(*identifier));
    check(!problem || isValidUTF8(*problem));
    const auto types = Linux::usualServiceTypes();
    check(!types.empty() || services);
    for (const std::string& type : types) {
        check(isValidUTF8(type) && (type.ends_with('.') || type == Linux::allServiceTypes));
    }
    check(isValidUTF8(Linux::desktopId({})));
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes input(data, size);
    const auto what = input.byte();
    const auto content = input.take(size);
    switch (what % 4) {
    case 0:
        for (const auto& [interface, metric] : Linux::defaultRoutes(content)) {
            check(interface.find_first_of(" \t\n") == std::string::npos);
        }
        break;
    case 1:
        check(Linux::applicationOfUnit(content).size() <= content.size());
        break;
    default:
        readAsInformation(content);
    }
    return 0;
}
