#include "tools/ambrel/Collecting/Progress.hpp"

#include "tools/ambrel/Terminal/Terminal.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <poll.h>
#include <unistd.h>

namespace Ambrel {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto length = 10s; // of a collection
constexpr auto renewal = 250ms;
constexpr std::size_t mostCells = 20; // of the bar
constexpr std::size_t leastCells = 8; // beside long names
constexpr const char* clearLine = "\r\033[K";

/// Nothing where the terminal takes no text, as one that is stopped (^S), which would hold the
/// collection up; nor from the background, where another program is using it.
void draw(const std::string& text) {
    pollfd terminal{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
    const pid_t foreground = tcgetpgrp(STDERR_FILENO); // -1: it is not this session's
    if (poll(&terminal, 1, 0) == 1 && (foreground < 0 || foreground == getpgrp())) {
        [[maybe_unused]] const ssize_t count = write(STDERR_FILENO, text.data(), text.size());
    }
}

std::string_view shortName(Source source) {
    static constexpr std::array<std::string_view, allSources.size()> names{"ble", "dns",  "gps",
                                                                           "ip",  "wifi", ""};
    return names.at(static_cast<std::size_t>(source));
}

} // namespace

void CollectionCounts::timerDidSchedule() {
    *this = {};
    running_ = true;
}

void CollectionCounts::bluetoothDidDiscover(const AmbrelKit::Peripheral& peripheral,
                                            const AmbrelKit::JSONDictionary& /*advertisementData*/,
                                            int /*rssi*/) {
    peripherals_.insert(peripheral.identifier);
}

void CollectionCounts::bonjourDidResolve(const AmbrelKit::NetService& service) {
    services_.emplace(service.type(), service.name());
}

void CollectionCounts::locationDidUpdate(const std::vector<AmbrelKit::LocationFix>& fixes) {
    fixes_ += fixes.size();
}

void CollectionCounts::networkDidAnswer(
    const std::optional<std::string>& addressIPv4,
    const std::vector<AmbrelKit::Linux::JoinedNetwork>& joined) {
    addresses_ = addressIPv4 ? 1 : 0;
    networks_ = joined.size();
}

std::size_t CollectionCounts::seen(Source source) const {
    switch (source) {
    case Source::bluetooth:
        return peripherals_.size();
    case Source::services:
        return services_.size();
    case Source::location:
        return fixes_;
    case Source::address:
        return addresses_;
    case Source::wifi:
        return networks_;
    case Source::lifecycle:
        break;
    }
    return 0;
}

bool Progress::isPossible(const CollectionOptions& options) {
    return isDrawable(STDERR_FILENO) && !options.quiet &&
           (options.progress || !isPipe(STDOUT_FILENO));
}

Progress::Progress(std::shared_ptr<const CollectionCounts> counts,
                   std::shared_ptr<const SourceReports> sources, CollectionOptions options)
    : counts_(std::move(counts)), sources_(std::move(sources)), options_(std::move(options)),
      start_(Clock::now()), due_(start_), style_(STDERR_FILENO, options_.output.color) {}

Progress::~Progress() { clear(); }

void Progress::clear() { draw(clearLine); }

std::chrono::milliseconds Progress::renew() {
    const auto now = Clock::now();
    if (now >= due_) {
        draw(line(now - start_));
        due_ += ((now - due_) / renewal + 1) * renewal;
    }
    return std::chrono::ceil<std::chrono::milliseconds>(due_ - now);
}

std::string Progress::line(Clock::duration elapsed) const {
    constexpr std::size_t usualWidth = 80;
    // At the last column, the terminal or the ^C that interrupts would move on to the next line.
    constexpr std::size_t room = 3;
    const std::size_t width =
        std::max(terminalColumns(STDERR_FILENO).value_or(usualWidth), room) - room;
    Piece seen = this->seen(code, "  ", unlimited);
    if (seen.width + leastCells > width) {
        seen = this->seen(shortName, " ", width);
    }
    const std::size_t cells = std::min(mostCells, width - seen.width);
    const auto done = std::min<std::size_t>(cells * elapsed / length, cells);
    const std::string bar = std::string(done, '#') + std::string(cells - done, '-');
    return clearLine + style_(Meaning::good, bar) + seen.text;
}

/// By each source that is to report, as many as fit.
Progress::Piece Progress::seen(Name name, const std::string& gap, std::size_t width) const {
    Piece piece;
    for (const Source source : allSources) {
        if (source == Source::lifecycle || !isWanted(options_, source)) {
            continue;
        }
        const SourceState state = sources_->report(source).condition.state;
        const bool works = state == SourceState::listening;
        const bool waits = state == SourceState::idle || state == SourceState::starting;
        const std::string mark = works ? std::to_string(counts_->seen(source)) : waits ? "-" : "no";
        const std::string before = gap + std::string(name(source)) + " ";
        if (piece.width + before.size() + mark.size() > width) {
            break;
        }
        piece.width += before.size() + mark.size();
        piece.text += before + (works || waits ? mark : style_(Meaning::bad, mark));
    }
    return piece;
}

} // namespace Ambrel
