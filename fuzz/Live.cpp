// The live view of a script that comes in pieces, on a page of any size, with any keys. The input
// is the script, a zero byte, and for each step three bytes: a key, the rows, the columns.

#include "fuzz/Properties.hpp"
#include "tools/ambrel/Collecting/ObservedPlatform.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Live/IncomingText.hpp"
#include "tools/ambrel/Live/View.hpp"

#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"
#include "AmbrelKit/Simulated/Platform.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptReader.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptRunner.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <unistd.h>

using namespace AmbrelKit;
using namespace Ambrel;
using Fuzz::require;

namespace {

/// As a script has it, in the script's own time.
class ScriptFeed final : public Feed {
public:
    explicit ScriptFeed(const Simulated::ScriptHeader& header)
        : platform_(header.platform),
          sources_(platform_.sourceReports([this] { sourcesChanged(*sources_); })),
          observer_(makeObserver()), observedNetwork_(observeNetwork(observer_)) {
        platform_.setMakeSDK([observer = observer_](auto... parts) {
            return Linux::create(observed(Linux::PlatformServices{std::move(parts)...}, observer));
        });
        runner_.emplace(platform_, header);
    }

    void run(const Simulated::ScriptStep& step) { runner_->run(step); }

    [[nodiscard]] Moment now() const override {
        return {.time = platform_.context()->now,
                .date = std::chrono::system_clock::time_point(
                    std::chrono::floor<std::chrono::system_clock::duration>(
                        platform_.context()->wallClock()))};
    }
    [[nodiscard]] bool runs() const override { return runs_; }
    void pause() override { runs_ = false; }
    void goOn() override { runs_ = true; }
    [[nodiscard]] std::string state() const override { return "fuzzed"; }

private:
    Simulated::Platform platform_;
    std::shared_ptr<SourceReports> sources_;
    std::shared_ptr<PlatformObserver> observer_;
    std::shared_ptr<void> observedNetwork_;
    std::optional<Simulated::ScriptRunner> runner_;
    bool runs_ = true;
};

Key keyOf(unsigned byte) {
    constexpr unsigned letters = 32;
    return byte < letters
               ? Key{static_cast<Key::Name>(byte % 11), ""}
               : Key{Key::Name::text, repairedUTF8(std::string(1, static_cast<char>(byte)))};
}

void checkView(View& view, const Key& key, ScreenSize size) {
    (void)view.take(key);
    for (const Line& line : view.lines(size)) {
        for (const StyledText& piece : line.pieces) {
            Fuzz::requireOneLine(piece.text);
        }
    }
}

/// A pipe, and what reads from it.
class Pipe {
public:
    Pipe() {
        std::array<int, 2> ends{};
        require(pipe(ends.data()) == 0, "there is a pipe");
        reading_ = AmbrelKit::Descriptor(ends[0]);
        writing_ = AmbrelKit::Descriptor(ends[1]);
        text_.emplace("/dev/fd/" + std::to_string(ends[0]));
    }

    void write(std::string_view text) const {
        require(::write(writing_.get(), text.data(), text.size()) ==
                    static_cast<ssize_t>(text.size()),
                "it is written");
    }
    void finish() { writing_ = Descriptor(); }

    IncomingText& text() { return *text_; }

private:
    Descriptor reading_;
    Descriptor writing_;
    std::optional<IncomingText> text_;
};

class Session {
public:
    explicit Session(std::string_view keys) : keys_(keys) {}

    /// What has come so far.
    void takeSteps(IncomingText& text) {
        while (!isOver_ && text.hasLine()) {
            if (!reader_) {
                reader_.emplace(text.stream());
                feed_.emplace(reader_->header());
                view_.emplace(*feed_);
                continue;
            }
            constexpr std::chrono::hours longest(1);
            const auto step = reader_->next();
            isOver_ = !step || step->at > longest;
            if (!isOver_) {
                feed_->run(*step);
            }
            const Key key = keyOf(Fuzz::takeLast(keys_));
            const std::size_t rows = Fuzz::takeLast(keys_) % 60;
            checkView(*view_, key, {.rows = rows, .columns = Fuzz::takeLast(keys_)});
        }
    }

private:
    std::string_view keys_;
    std::optional<Simulated::ScriptReader> reader_;
    std::optional<ScriptFeed> feed_;
    std::optional<View> view_;
    bool isOver_ = false;
};

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view script = Fuzz::textOf(data, size);
    const auto end = std::min(script.find('\0'), script.size());
    Session session(script.substr(std::min(end + 1, script.size())));
    script = script.substr(0, end);
    Pipe pipe;
    try {
        for (std::size_t piece = 7; !script.empty(); piece = piece * 3 % 4001) {
            pipe.write(script.substr(0, piece));
            script.remove_prefix(std::min(piece, script.size()));
            session.takeSteps(pipe.text());
        }
        pipe.finish();
        session.takeSteps(pipe.text());
    } catch (const Simulated::ScriptError& error) {
        Fuzz::requireOneLine(error.what());
    }
    return 0;
}
