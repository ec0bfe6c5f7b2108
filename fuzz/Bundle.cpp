// What a host's information dictionary may hold.

#include "AmbrelKit/Platform/Bundle.hpp"
#include "fuzz/Properties.hpp"

#include <AmbrelKit/Simulated/Platform.hpp>
#include <cstdint>
#include <fstream>

using namespace AmbrelKit;
using Fuzz::require;

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fuzz::Scratch file("AMBREL_INFO");
    const std::string_view text = Fuzz::textOf(data, size);
    std::ofstream(file.path, std::ios::binary) << text;
    const Bundle& bundle = Bundle::main();
    const auto dictionary = bundle.infoDictionary();
    require(dictionary == Fuzz::dictionaryOf(text), "it is what the file holds");
    const auto problem = bundle.problem();
    require(dictionary || problem, "why there is none is told");
    if (problem) {
        Fuzz::requireOneLine(*problem);
    }
    const auto services = bundle.bonjourServices();
    const auto identifier = bundle.identifier();
    require(!(services && dictionary->at("NSBonjourServices") != JSONValue(*services)), "its list");
    require(!(identifier && dictionary->at("CFBundleIdentifier") != *identifier), "its name");
    require(problem || services || !dictionary->contains("NSBonjourServices"), "a list or why not");
    Simulated::Platform platform;
    const auto sdk = platform.createSDK(services);
    sdk->startScanning();
    return 0;
}
