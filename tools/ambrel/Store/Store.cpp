#include "tools/ambrel/Store/Store.hpp"

#include "tools/ambrel/Process/HeldSignals.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <memory>

namespace Ambrel {

bool withStore(const std::function<void(const AmbrelKit::AmbrelStorage& store)>& work) {
    if (!AmbrelKit::AmbrelStorage::documentsPath()) {
        say("no folder for collections: HOME and AMBREL_DOCUMENTS_DIR are unset");
        return false;
    }
    const auto failed = std::make_shared<bool>(false);
    auto& store = AmbrelKit::AmbrelStorage::shared();
    store.report = [failed](const std::string& line) {
        *failed = true;
        say(line);
    };
    work(store);
    return !*failed;
}

void save(const AmbrelKit::AmbrelStorage& store, const AmbrelKit::JSONDictionary& collection) {
    const HeldSignals held;
    store.save(collection);
}

bool saveCollection(const AmbrelKit::JSONDictionary& collection) {
    return withStore(
        [&collection](const AmbrelKit::AmbrelStorage& store) { save(store, collection); });
}

} // namespace Ambrel
