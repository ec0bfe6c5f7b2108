#include "tools/ambrel/Progress.hpp"

#include "tools/ambrel/Terminal.hpp"

#include <algorithm>
#include <cstdlib>
#include <poll.h>
#include <unistd.h>

namespace Ambrel {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto length = 10s; // of a collection
constexpr auto renewal = 250ms;
constexpr std::size_t cells = 20;
constexpr const char* clearLine = "\r\033[K";

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// Nothing where the terminal takes no text, as one that is stopped (^S), which would hold the
/// collection up; nor from the background, where another program is using it.
void draw(const std::string& text) {
    pollfd terminal{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
    const pid_t foreground = tcgetpgrp(STDERR_FILENO); // -1: it is not this session's
    if (poll(&terminal, 1, 0) == 1 && (foreground < 0 || foreground == getpgrp())) {
        [[maybe_unused]] const ssize_t count = write(STDERR_FILENO, text.data(), text.size());
    }
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
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
    const std::optional<std::string>& /*addressIPv4*/,
    const std::vector<AmbrelKit::Linux::JoinedNetwork>& joined) {
    networks_ = joined.size();
}

bool Progress::isWanted(const CollectionOptions& options) {
    const bool possible =
        isatty(STDERR_FILENO) == 1 && isSet("TERM") && std::string(std::getenv("TERM")) != "dumb";
    return possible && !options.quiet && (options.progress || !isPipe(STDOUT_FILENO));
}

Progress::Progress(std::shared_ptr<const CollectionCounts> counts, CollectionOptions options)
    : counts_(std::move(counts)), options_(std::move(options)), start_(Clock::now()), due_(start_),
      coloured_(!isSet("NO_COLOR")) {}

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
    const auto done = std::min<std::size_t>(cells * elapsed / length, cells);
    const std::string bar = std::string(done, '#') + std::string(cells - done, '-');
    constexpr std::size_t usualWidth = 80;
    // At the last column, the terminal or the ^C that interrupts would move on to the next line.
    constexpr std::size_t room = 3;
    const std::size_t width =
        std::max(terminalColumns(STDERR_FILENO).value_or(usualWidth), room) - room;
    const std::string start = coloured_ ? "\033[32m" : "";
    const std::string end = coloured_ ? "\033[0m" : "";
    const std::string shownBar = bar.substr(0, width);
    return clearLine + start + shownBar + end + seen().substr(0, width - shownBar.size());
}

/// Of the sources that are at work.
std::string Progress::seen() const {
    std::string text;
    const auto add = [&](const char* permission, const std::string& count) {
        if (isGranted(options_, permission)) {
            text += count + ", ";
        }
    };
    add("bluetooth", counted(counts_->peripherals(), "peripheral", "peripherals"));
    add("network", counted(counts_->services(), "service", "services"));
    add("location", counted(counts_->fixes(), "fix", "fixes"));
    return "  " + text + counted(counts_->networks(), "Wi-Fi network", "Wi-Fi networks");
}

} // namespace Ambrel
