#ifndef AMBRELKIT_AMBRELSTORAGE_HPP
#define AMBRELKIT_AMBRELSTORAGE_HPP

#include <AmbrelKit/Platform/Export.hpp>
#include <AmbrelKit/Platform/JSONDictionary.hpp>

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace AmbrelKit {

/// A small file store for the dictionaries that the delegate receives: one file each, in the
/// directory "collections" of the documents folder. The kit itself never calls it.
///
/// The documents folder is `$AMBREL_DOCUMENTS_DIR`, else `$STATE_DIRECTORY`, else
/// `$XDG_DATA_HOME/ambrelkit`, else `~/.local/share/ambrelkit`; an empty variable counts as none,
/// and without any of them the directory is "/collections". What the store makes is for its user
/// alone (directories 0700, files 0600). It does not use a "collections" that belongs to neither
/// the process's user nor root.
///
/// A dictionary is known by the number under "timestamp", which names its file: the shortest text
/// that reads back as the same double, as in `1700000000.0`. Two dictionaries with the same
/// timestamp share one file, and the later replaces the earlier.
///
/// Every operation does its file work before it returns, may be called from inside any callback of
/// the kit and on any thread, and keeps nothing between calls. None returns an error or throws: a
/// failure is one line on standard output, unless the host sets `report` to something else. The
/// store is ready before any code of the host runs, and until the process has ended.
class AmbrelStorage {
public:
    /// Receives one dictionary; what it throws ends the visit.
    using Visitor = std::function<void(JSONDictionary collection)>;

    /// The one instance, made on first use and never destroyed.
    AMBRELKIT_API static AmbrelStorage& shared();

    AmbrelStorage(const AmbrelStorage&) = delete;
    AmbrelStorage& operator=(const AmbrelStorage&) = delete;

    /// Receives each failure: one line of UTF-8 without its line break or anything that commands a
    /// terminal. As constructed it writes the line to standard output; an empty function drops it.
    /// Replace it before other threads use the store.
    std::function<void(const std::string& line)> report;

    /// Writes the dictionary to its file, and returns when it is on the disk. A save that is cut
    /// short (a full disk, a kill, a loss of power) leaves the earlier file of that name whole.
    ///
    /// Does nothing, silently, when "timestamp" is missing, is no number, or is an integer that no
    /// double holds exactly. Reports, and writes nothing, when a value has no JSON form (a number
    /// that is not finite, text that is not UTF-8, bytes), more than 512 values stand inside one
    /// another, or the file would have more than 16 MiB. When the file is written, but the file
    /// system does not say that it is on the disk, the report says so.
    AMBRELKIT_API void save(const JSONDictionary& dictionary) const;

    /// Removes the file that the dictionary's "timestamp" names; nothing else of the dictionary is
    /// looked at. Silent in the same cases as `save`; a file that is not there is reported.
    AMBRELKIT_API void delete_(const JSONDictionary& dictionary) const;

    /// Every saved dictionary, in the order in which the file system lists the files (hidden ones
    /// included). An entry that cannot be read, is longer or deeper than what `save` writes, or
    /// holds neither a JSON dictionary nor an array, is reported and left out; an array is left
    /// out. A directory that cannot be listed, as before the first save, is reported, and the list
    /// is empty.
    [[nodiscard]] AMBRELKIT_API std::vector<JSONDictionary> savedCollections() const;

    /// Calls `visit` with each dictionary of `savedCollections()` in turn, so that only one is in
    /// memory. `visit` may save and delete; what is saved meanwhile is not visited. What it throws
    /// ends the visit and reaches the caller.
    AMBRELKIT_API void forEachSavedCollection(const Visitor& visit) const;

    /// The same, oldest first, for the dictionaries from `since` to `until`, both included, in
    /// seconds since 1970; they may be infinite, and with one that is NaN there are none. A file
    /// with a name of ours is placed by its name, and not opened when it is out of range; any other
    /// by the "timestamp" that it holds, and before all others when it holds none.
    AMBRELKIT_API void forEachSavedCollection(double since, double until,
                                              const Visitor& visit) const;

    /// The timestamps of the saved dictionaries in rising order, by the names of their files alone:
    /// no file is opened, so that what holds no dictionary counts too, and a file with a name that
    /// is not ours does not. A directory that cannot be listed is reported, and the list is empty.
    [[nodiscard]] AMBRELKIT_API std::vector<double> savedTimestamps() const;

    /// The name of the dictionary's file; nothing in the cases in which `save` does nothing.
    [[nodiscard]] AMBRELKIT_API static std::optional<std::string>
    fileName(const JSONDictionary& dictionary);

    /// The directory of the files, as bytes of the environment, UTF-8 or not. It need not exist.
    [[nodiscard]] AMBRELKIT_API static std::string path();

    /// The documents folder likewise; nothing when the environment names no folder and no home.
    [[nodiscard]] AMBRELKIT_API static std::optional<std::string> documentsPath();

protected:
    AMBRELKIT_API AmbrelStorage();
    ~AmbrelStorage() = default;

private:
    static constexpr const char* directoryPath = "collections";
    static constexpr const char* timestampKey = "timestamp";

    // Both ask for the documents folder afresh; the empty text stands for an absent one.
    [[nodiscard]] static std::string pathForDirectory(std::string_view directory);
    [[nodiscard]] static std::string pathForDirectory(std::string_view directory,
                                                      std::string_view withName);

    [[nodiscard]] static std::optional<double> timestamp(const JSONDictionary& dictionary);
    [[nodiscard]] std::optional<JSONDictionary> getInDirectory(const std::string& withName) const;
    void visitInDirectory(const std::string& withName, const Visitor& visit) const;
    void forEachNameInDirectory(const std::function<void(std::string name)>& visit) const;
    void reportFailure(const std::exception& failure) const;
};

} // namespace AmbrelKit

#endif
