#include "tools/ambrel/Progress.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
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

void draw(const std::string& text) {
    [[maybe_unused]] const ssize_t count = write(STDERR_FILENO, text.data(), text.size());
}

/// How many characters fit without the terminal moving on to the next line.
std::size_t columns() {
    constexpr std::size_t usual = 80;
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return (known ? size.ws_col : usual) - 1;
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

} // namespace

void CollectionCounts::timerDidSchedule() {
    *this = {};
    running_ = true;
}

void CollectionCounts::bluetoothDidDiscover(const AmbrelKit::Peripheral& peripheral) {
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

bool Progress::isPossible() {
    const char* const terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && terminal != nullptr && *terminal != '\0' &&
           std::strcmp(terminal, "dumb") != 0;
}

Progress::Progress(std::shared_ptr<const CollectionCounts> counts)
    : counts_(std::move(counts)), start_(Clock::now()), due_(start_),
      coloured_(!isSet("NO_COLOR")) {}

Progress::~Progress() { draw(clearLine); }

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
    const std::string counts = "  " + counted(counts_->peripherals(), "peripheral", "peripherals") +
                               ", " + counted(counts_->services(), "service", "services") + ", " +
                               counted(counts_->fixes(), "fix", "fixes") + ", " +
                               counted(counts_->networks(), "network", "networks");
    const std::size_t width = columns();
    const std::string start = coloured_ ? "\033[32m" : "";
    const std::string end = coloured_ ? "\033[0m" : "";
    const std::string shownBar = bar.substr(0, width);
    return clearLine + start + shownBar + end + counts.substr(0, width - shownBar.size());
}

} // namespace Ambrel
