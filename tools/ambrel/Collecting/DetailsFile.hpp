#ifndef AMBREL_DETAILSFILE_HPP
#define AMBREL_DETAILSFILE_HPP

#include "tools/ambrel/Collecting/DetailedReports.hpp"
#include "tools/ambrel/Collecting/ResultFile.hpp"

#include <string>
#include <utility>

namespace Ambrel {

/// Writes what the platform reports: one JSON object a line, as docs/details.schema.json has it.
class DetailsFile final : public DetailedReports {
public:
    /// What is thrown is what `ResultFile` throws.
    DetailsFile(std::string name, ResultFile::Earlier earlier) : file_(std::move(name), earlier) {}

    /// Has what was reported since the last time in the file.
    void finish() { file_.finish(); }

private:
    void told(AmbrelKit::Source source, const char* report,
              const AmbrelKit::JSONDictionary& details) override;

    ResultFile file_;
};

} // namespace Ambrel

#endif
