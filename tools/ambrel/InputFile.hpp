#ifndef AMBREL_INPUTFILE_HPP
#define AMBREL_INPUTFILE_HPP

#include <fstream>
#include <istream>
#include <string>

namespace Ambrel {

/// A file that a command reads, or standard input where it was named "-".
class InputFile {
public:
    /// Throws `CommandError` when the file can't be opened.
    explicit InputFile(const std::string& argument);

    /// As messages call it.
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] std::istream& stream();

private:
    std::string name_;
    std::ifstream file_; ///< not open: it is standard input
};

} // namespace Ambrel

#endif
