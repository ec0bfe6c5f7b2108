// What a file of the store, or the input of `ambrel store save`, may hold.

#include "AmbrelKit/Platform/JSONText.hpp"
#include "tools/ambrel/Store/Summary.hpp"
#include "tools/ambrel/Terminal/CollectionTables.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace AmbrelKit;
    JSONValue value;
    try {
        value = readJSON({reinterpret_cast<const char*>(data), size});
    } catch (const JSONTextError&) {
        return 0;
    }
    if (!value.is_object()) {
        return 0;
    }
    const auto& dictionary = value.get_ref<const JSONDictionary&>();
    const Ambrel::Summary summary(dictionary);
    (void)summary.row(0);
    for (const std::size_t columns : {Ambrel::unlimited, std::size_t{20}}) {
        (void)Ambrel::collectionTables(dictionary, {}, {.columns = columns, .style = {}});
    }
    const std::string pretty = Ambrel::formatted(dictionary, Ambrel::OutputFormat::pretty);
    if (readJSON(pretty) != value || readJSON(writeJSON(dictionary)) != value) {
        std::abort();
    }
    return 0;
}
