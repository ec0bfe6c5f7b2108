#ifndef AMBREL_RESULTFILE_HPP
#define AMBREL_RESULTFILE_HPP

#include "AmbrelKit/Platform/Descriptor.hpp"

#include <string>
#include <string_view>

namespace Ambrel {

/// A file that the command line names for what a command finds beside what it prints. A new one is
/// for its user's eyes only. What is there and is no regular file, such as a pipe, is written to as
/// it is.
class ResultFile {
public:
    /// What becomes of a regular file of that name.
    enum class Earlier {
        replaced, ///< when this one is whole: until then it stays
        continued,
    };

    /// Throws when the file can't be made, or what is there can't be written to. Waits for the
    /// reader of a pipe.
    explicit ResultFile(std::string name, Earlier earlier = Earlier::replaced);

    void write(std::string_view line);

    /// Has the lines since the last time in the file; a file that is to be replaced then holds them
    /// alone. Where they can't be written it throws, and none of them is kept. What was continued
    /// and is not there any more is begun anew.
    void finish();

private:
    [[nodiscard]] AmbrelKit::Descriptor opened(int flags) const;

    std::string name_;
    std::string text_;           ///< a collection's at most
    AmbrelKit::Descriptor file_; ///< where there is no new one
    bool opensAnew_ = false;     ///< each time: it may be renamed meanwhile
};

/// Whether both name a regular file, there or not yet, and the same one.
bool nameOneFile(const std::string& name, const std::string& other);

} // namespace Ambrel

#endif
