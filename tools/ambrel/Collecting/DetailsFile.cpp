#include "tools/ambrel/Collecting/DetailsFile.hpp"

#include "AmbrelKit/Platform/PrintableText.hpp"

namespace Ambrel {

using namespace AmbrelKit;

void DetailsFile::told(Source source, const char* report, const JSONDictionary& details) {
    nlohmann::ordered_json line{
        {"time", secondsSince1970(Linux::ProcessServices::current().currentDate())},
        {"source", code(source)},
        {"report", report}};
    for (const auto& [key, value] : details) {
        line[key] = value;
    }
    constexpr auto repair = nlohmann::ordered_json::error_handler_t::replace;
    file_.write(printableJSON(line.dump(-1, ' ', false, repair)));
}

} // namespace Ambrel
