#include "AmbrelKit/C/Edge.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"

#include <AmbrelKit/AmbrelStorage.hpp>

#include <functional>
#include <optional>

using namespace AmbrelKit;

namespace {

/// The store, with a report of its own.
class ReportingStore final : public AmbrelStorage {
public:
    explicit ReportingStore(std::function<void(const std::string&)> to) { report = std::move(to); }
};

/// Does `operation` to the dictionary; what the store would report is an error. 0 when the
/// dictionary names no file.
int change(const char* json, size_t length, ambrel_error* error,
           void (AmbrelStorage::*operation)(const JSONDictionary&) const) {
    return C::edge(error, [&] {
        const JSONDictionary dictionary = C::dictionary(json, length);
        if (!AmbrelStorage::fileName(dictionary)) {
            return 0;
        }
        std::optional<std::string> problem;
        const ReportingStore store([&problem](const std::string& line) { problem = line; });
        (store.*operation)(dictionary);
        if (problem) {
            throw C::Failure(-EIO, AMBREL_ERROR_DOMAIN_STORE, 0, *problem);
        }
        return 1;
    });
}

/// Thrown through the store to end a visit.
struct Enough {
    int result;
};

/// Nothing, and a report, for what was read and yet can't be written: its numbers take more room
/// so.
std::optional<std::string> textOf(const JSONDictionary& collection, const AmbrelStorage& store) {
    try {
        return writeJSON(collection);
    } catch (const JSONTextError& error) {
        store.report(error.what());
        return std::nullopt;
    }
}

/// Has `walk` go through the store, and hands what it meets to the visitor.
int visit(const ambrel_store_visitor* visitor, ambrel_error* error,
          const std::function<void(const AmbrelStorage&, const AmbrelStorage::Visitor&)>& walk) {
    return C::edge(error, [&] {
        const auto host = C::known(C::required(visitor));
        C::require(host.visit != nullptr, "a visitor does not visit");
        const ReportingStore store([&host](const std::string& line) {
            if (host.skipped != nullptr) {
                host.skipped(host.context, line.c_str());
            }
        });
        try {
            walk(store, [&](const JSONDictionary& collection) {
                const auto json = textOf(collection, store);
                const int result =
                    json ? C::checked(host.visit(host.context, json->c_str(), json->size())) : 0;
                if (result > 0) {
                    throw Enough{result};
                }
            });
        } catch (const Enough& enough) {
            return enough.result;
        }
        return 0;
    });
}

/// Hands out the text, and returns 1; null and 0 where there is none.
int giveIfAny(const std::optional<std::string>& text, char** to) {
    if (!text) {
        C::required(to) = nullptr;
        return 0;
    }
    C::give(*text, to);
    return 1;
}

} // namespace

extern "C" {

int ambrel_store_save(const char* json, size_t length, ambrel_error* error) {
    return change(json, length, error, &AmbrelStorage::save);
}

int ambrel_store_delete(const char* json, size_t length, ambrel_error* error) {
    return change(json, length, error, &AmbrelStorage::delete_);
}

int ambrel_store_for_each(const ambrel_store_visitor* visitor, ambrel_error* error) {
    return visit(visitor, error,
                 [](const AmbrelStorage& store, const AmbrelStorage::Visitor& each) {
                     store.forEachSavedCollection(each);
                 });
}

int ambrel_store_for_each_between(double since, double until, const ambrel_store_visitor* visitor,
                                  ambrel_error* error) {
    return visit(visitor, error,
                 [&](const AmbrelStorage& store, const AmbrelStorage::Visitor& each) {
                     store.forEachSavedCollection(since, until, each);
                 });
}

int ambrel_store_file_name(const char* json, size_t length, char** name, ambrel_error* error) {
    return C::edge(error, [&] {
        return giveIfAny(AmbrelStorage::fileName(C::dictionary(json, length)), name);
    });
}

int ambrel_store_path(char** path, ambrel_error* error) {
    return C::edge(error, [&] { C::give(AmbrelStorage::path(), path); });
}

int ambrel_store_documents_path(char** path, ambrel_error* error) {
    return C::edge(error, [&] { return giveIfAny(AmbrelStorage::documentsPath(), path); });
}
}
