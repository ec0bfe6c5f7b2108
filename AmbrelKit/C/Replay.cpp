#include "AmbrelKit/Simulated/Replay/Replay.hpp"

#include "AmbrelKit/C/Trace.hpp"

#include <streambuf>

using namespace AmbrelKit;

namespace {

/// Reads text where it lies.
class TextBuffer final : public std::streambuf {
public:
    explicit TextBuffer(std::string_view text) {
        auto* const begin = const_cast<char*>(text.data()); // which nobody writes to
        setg(begin, begin, begin + text.size());
    }
};

} // namespace

extern "C" {

int ambrel_replay(const char* script, size_t length, unsigned flags, const ambrel_trace* trace,
                  ambrel_error* error) {
    return C::edge(error, [&] {
        constexpr unsigned known = AMBREL_REPLAY_QUERIES | AMBREL_REPLAY_QUIET;
        C::require((flags & ~known) == 0, "an unknown flag");
        const auto callbacks = std::make_shared<C::TraceCallbacks>(C::required(trace));
        TextBuffer buffer({&C::required(script), length});
        std::istream text(&buffer);
        try {
            Simulated::replay(text,
                              {.queries = (flags & AMBREL_REPLAY_QUERIES) != 0,
                               .quiet = (flags & AMBREL_REPLAY_QUIET) != 0},
                              C::printTo(callbacks));
        } catch (const Simulated::ScriptError& wrong) {
            throw C::scriptFailure(wrong.line(), wrong.what());
        }
        callbacks->takeOver();
    });
}
}
