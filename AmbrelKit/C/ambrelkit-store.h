#ifndef AMBRELKIT_STORE_H
#define AMBRELKIT_STORE_H

/// @file
/// The store of <ambrelkit.h>, which includes this.
///
/// Keeps dictionaries as files, one each, in "collections" of the documents folder:
/// `$AMBREL_DOCUMENTS_DIR`, else `$STATE_DIRECTORY`, else `$XDG_DATA_HOME/ambrelkit`, else
/// `~/.local/share/ambrelkit`. A dictionary is known by its "timestamp": two with the same share a
/// file, and the later replaces the earlier. These functions keep nothing between calls, may be
/// called on any thread and in any callback, and do their file work before they return. They return
/// -EIO with AMBREL_ERROR_DOMAIN_STORE when it could not be done.

#include <ambrelkit.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Saves a dictionary, and returns 1 when it is on the disk; a save that is cut short leaves the
/// earlier file whole. Returns 0 and does nothing when there is no number under "timestamp".
AMBREL_API int ambrel_store_save(const char* json, size_t length, ambrel_error* error);

/// Removes the file that the dictionary's "timestamp" names, and returns 1; 0 as above. Nothing
/// else of the dictionary is looked at.
AMBREL_API int ambrel_store_delete(const char* json, size_t length, ambrel_error* error);

/// Who is shown the saved dictionaries.
typedef struct ambrel_store_visitor {
    /// `sizeof` the struct, by the initializer.
    size_t size;
    /// Handed to each callback.
    void* context;
    /// One saved dictionary. A positive number ends the visit, and is what the function returns. It
    /// may save and delete; what is saved meanwhile is not visited, and what is deleted is told to
    /// `skipped`.
    int (*visit)(void* context, const char* json, size_t length);
    /// A file that can't be read, and is left out: why, in one line. May be NULL.
    void (*skipped)(void* context, const char* line);
} ambrel_store_visitor;

/// A struct with its size, and else zero.
#define AMBREL_STORE_VISITOR_INIT                                                                  \
    { sizeof(ambrel_store_visitor), NULL, NULL, NULL }

/// Visits every saved dictionary, in the order in which the file system lists them; only one is in
/// memory at a time. 0 at the end. A folder that can't be listed, as before the first save, is told
/// to `skipped`.
AMBREL_API int ambrel_store_for_each(const ambrel_store_visitor* visitor, ambrel_error* error);

/// The same, oldest first, for the dictionaries from `since` to `until`, both included, in seconds
/// since 1970; they may be infinite.
AMBREL_API int ambrel_store_for_each_between(double since, double until,
                                             const ambrel_store_visitor* visitor,
                                             ambrel_error* error);

/// The name of the dictionary's file, such as "1700000000.0", in `name`, to be freed by
/// `ambrel_free`; returns 1. NULL and 0 where there is no number under "timestamp".
AMBREL_API int ambrel_store_file_name(const char* json, size_t length, char** name,
                                      ambrel_error* error);

/// The folder of the files, which need not exist, in `path`, to be freed by `ambrel_free`: the
/// bytes of the environment, UTF-8 or not.
AMBREL_API int ambrel_store_path(char** path, ambrel_error* error);

/// The documents folder likewise, and 1; NULL and 0 where the environment names no folder and no
/// home.
AMBREL_API int ambrel_store_documents_path(char** path, ambrel_error* error);

#ifdef __cplusplus
}
#endif

#endif
