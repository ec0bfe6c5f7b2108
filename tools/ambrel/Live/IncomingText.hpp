#ifndef AMBREL_INCOMINGTEXT_HPP
#define AMBREL_INCOMINGTEXT_HPP

#include "AmbrelKit/Platform/Descriptor.hpp"

#include <istream>
#include <streambuf>
#include <string>

namespace Ambrel {

/// A file to be read line by line as it comes: behind a pipe, a writer may be slow.
class IncomingText final : private std::streambuf {
public:
    /// Waits for a pipe's writer. Throws `CommandError` when it can't be opened.
    explicit IncomingText(const std::string& name);

    /// To be read; it waits, as any, for what is not there yet.
    [[nodiscard]] std::istream& stream() { return stream_; }

    /// Whether a line that is not blank, or the end, can be read without waiting.
    [[nodiscard]] bool hasLine();

    /// Becomes readable when that may have changed.
    [[nodiscard]] int fileDescriptor() const { return file_.get(); }

private:
    int_type underflow() override;
    void readMore();

    AmbrelKit::Descriptor file_;
    std::istream stream_{this};
    std::string text_; ///< what is not taken from it yet, behind what is
    bool isWhole_ = false;
    int error_ = 0; ///< with which reading has ended
};

} // namespace Ambrel

#endif
