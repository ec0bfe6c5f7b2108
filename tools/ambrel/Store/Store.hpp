#ifndef AMBREL_STORE_HPP
#define AMBREL_STORE_HPP

#include "tools/ambrel/Arguments/TimeSpan.hpp"

#include <AmbrelKit/AmbrelStorage.hpp>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

/// Lets `work` use the store, and writes each failure that the store reports meanwhile as one line
/// to standard error. Returns whether there was none. Throws `CommandError` when there is no folder
/// for a store.
bool withStore(const std::function<void(const AmbrelKit::AmbrelStorage& store)>& work);

/// The store, which gives each failure to `report` from here on. Throws `CommandError` when there
/// is no folder for a store.
const AmbrelKit::AmbrelStorage&
storeReportingTo(std::function<void(const std::string& line)> report);

/// Whether anything was ever saved.
bool hasSaved();

/// The file of a collection of that time, whether it is there or not.
std::string fileOf(double time);

/// Has `take` take the collections of that span, from the oldest to the newest. A store that was
/// never saved to is an empty one, which is said.
void forEachStored(const AmbrelKit::AmbrelStorage& store, const TimeSpan& span,
                   const AmbrelKit::AmbrelStorage::Visitor& take);

/// Saves one dictionary; an interruption waits until that is done.
void save(const AmbrelKit::AmbrelStorage& store, const AmbrelKit::JSONDictionary& collection);

/// The same in the store; false when that failed, also for want of a folder.
bool saveCollection(const AmbrelKit::JSONDictionary& collection);

} // namespace Ambrel

#endif
