#include "tools/ambrel/Store/Store.hpp"

#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Process/HeldSignals.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <cerrno>
#include <memory>
#include <unistd.h>
#include <utility>

namespace Ambrel {

using AmbrelKit::AmbrelStorage;

bool withStore(const std::function<void(const AmbrelStorage& store)>& work) {
    const auto failed = std::make_shared<bool>(false);
    work(storeReportingTo([failed](const std::string& line) {
        *failed = true;
        say(line);
    }));
    return !*failed;
}

const AmbrelStorage& storeReportingTo(std::function<void(const std::string& line)> report) {
    if (!AmbrelStorage::documentsPath()) {
        throw CommandError(failed,
                           "no folder for collections: HOME and AMBREL_DOCUMENTS_DIR are unset");
    }
    auto& store = AmbrelStorage::shared();
    store.report = std::move(report);
    return store;
}

bool hasSaved() { return access(AmbrelStorage::path().c_str(), F_OK) == 0 || errno != ENOENT; }

std::string fileOf(double time) {
    return AmbrelStorage::path() + "/" + AmbrelStorage::fileName({{"timestamp", time}}).value();
}

void forEachStored(const AmbrelStorage& store, const TimeSpan& span,
                   const AmbrelStorage::Visitor& take) {
    if (hasSaved()) {
        store.forEachSavedCollection(span.since, span.until, take);
    } else {
        say("nothing has been saved in " + AmbrelStorage::path());
    }
}

void save(const AmbrelKit::AmbrelStorage& store, const AmbrelKit::JSONDictionary& collection) {
    const HeldSignals held;
    store.save(collection);
}

bool saveCollection(const AmbrelKit::JSONDictionary& collection) {
    try {
        return withStore([&](const AmbrelStorage& store) { save(store, collection); });
    } catch (const CommandError& error) {
        say(error.what());
        return false;
    }
}

} // namespace Ambrel
