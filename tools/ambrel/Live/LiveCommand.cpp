#include "tools/ambrel/Arguments/Number.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Live/MachineFeed.hpp"
#include "tools/ambrel/Live/ReplayFeed.hpp"
#include "tools/ambrel/Live/Screen.hpp"
#include "tools/ambrel/Live/TerminalGuard.hpp"
#include "tools/ambrel/Live/View.hpp"
#include "tools/ambrel/Process/InterruptSignals.hpp"
#include "tools/ambrel/Process/SignalDescriptor.hpp"

#include "AmbrelKit/Platform/RunLoop.hpp"

#include <CLI/CLI.hpp>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <poll.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

using namespace std::chrono_literals;

namespace {

struct LiveOptions {
    CollectionOptions collection;
    std::string script; ///< empty: this machine
    double speed = 1;
};

/// Shows a feed until the user quits. It waits in poll(2), and draws when something has changed.
class Live {
public:
    Live(Feed& feed, ScreenFlag& flag, bool hasColors)
        : feed_(feed), screen_(flag, hasColors), view_(feed) {
        feed_.setChanged([this] { changed_ = true; });
    }
    Live(const Live&) = delete;
    Live& operator=(const Live&) = delete;
    ~Live() {
        feed_.setChanged([] {});
    }

    /// Throws `EndBySignal` when something else ends it.
    void run(InterruptSignals& interruptions, SignalDescriptor& terminal) {
        const auto loop = AmbrelKit::RunLoop::current();
        std::array<pollfd, 5> descriptors{{
            {.fd = loop->fileDescriptor(), .events = POLLIN, .revents = 0},
            {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0},
            {.fd = interruptions.fileDescriptor(), .events = POLLIN, .revents = 0},
            {.fd = terminal.number(), .events = POLLIN, .revents = 0},
            {.fd = -1, .events = POLLIN, .revents = 0},
        }};
        do {
            const int wait = draw();
            descriptors[4].fd = feed_.fileDescriptor();
            if (poll(descriptors.data(), descriptors.size(), wait) < 0 && errno != EINTR) {
                throw std::system_error(errno, std::generic_category(), "wait for events");
            }
            if (const auto signal = interruptions.take()) {
                throw EndBySignal(*signal);
            }
            if ((descriptors[1].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
                throw EndBySignal(SIGHUP); // the terminal is gone
            }
            while (const auto signal = terminal.take()) {
                take(*signal);
            }
            if (descriptors[0].revents != 0) {
                loop->dispatch();
            }
            if (descriptors[4].revents != 0) {
                feed_.takeInput();
            }
        } while (takeKeys());
    }

private:
    using Clock = std::chrono::steady_clock;

    void take(int signal) {
        changed_ = true;
        if (signal == SIGWINCH) {
            screen_.takeSize();
        } else if (signal == SIGCONT) {
            screen_.takeBack();
        } else { // stops here, not in the middle of drawing
            sigset_t stop{};
            sigemptyset(&stop);
            sigaddset(&stop, signal);
            std::raise(signal);
            sigprocmask(SIG_UNBLOCK, &stop, nullptr);
            sigprocmask(SIG_BLOCK, &stop, nullptr);
        }
    }

    /// Returns when that is to be done next, in milliseconds from now, or -1.
    int draw() {
        const auto now = Clock::now();
        const auto age = now - drawn_;
        if ((changed_ && age >= shortest) || (showsAges() && age >= second)) {
            changed_ = false;
            drawn_ = now;
            screen_.show(view_.lines(screen_.size()));
        }
        if (!changed_ && !showsAges()) {
            return -1;
        }
        const auto due = drawn_ + (changed_ ? Clock::duration(shortest) : Clock::duration(second));
        return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(due - now).count());
    }

    /// Whether what is shown grows old by itself.
    [[nodiscard]] bool showsAges() const { return feed_.runs() && !feed_.sightings().isEmpty(); }

    bool takeKeys() {
        while (const auto key = screen_.takeKey()) {
            if (!view_.take(*key)) {
                return false;
            }
            changed_ = true;
        }
        return true;
    }

    static constexpr auto shortest = 100ms; // from one drawing to the next
    static constexpr auto second = 1s;

    Feed& feed_;
    Screen screen_;
    View view_;
    bool changed_ = true;
    Clock::time_point drawn_;
};

/// That the terminal has another size, and that the program is to stop, or goes on after that; held
/// back from here on.
sigset_t terminalSignals() {
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGWINCH);
    sigaddset(&signals, SIGTSTP);
    sigaddset(&signals, SIGCONT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

ExitStatus show(const LiveOptions& options, ScreenFlag& flag) {
    std::unique_ptr<Feed> feed; // first: to open a script can wait for its writer
    if (options.script.empty()) {
        feed = std::make_unique<MachineFeed>(options.collection);
    } else {
        feed = std::make_unique<ReplayFeed>(options.script, options.speed);
    }
    InterruptSignals interruptions;
    SignalDescriptor terminal(terminalSignals());
    Live(*feed, flag, Style(STDOUT_FILENO, options.collection.output.color).hasColors())
        .run(interruptions, terminal);
    return done;
}

std::string checkSpeed(const std::string& text) {
    constexpr double least = 0.001;
    constexpr double greatest = 1000;
    std::string_view rest = text;
    const auto speed = takeNumber(rest, plainNumber);
    return speed && rest.empty() && *speed >= least && *speed <= greatest
               ? ""
               : "\"" + text + "\" is not a number from 0.001 to 1000, such as 4 or 0.5";
}

void checkPermissions(const CollectionOptions& options) {
    for (const char* permission : {"bluetooth", "location", "network"}) {
        if (isGranted(options, permission)) {
            return;
        }
    }
    throw CommandError(badInput, "--only and --without leave no source to show");
}

} // namespace

void defineLiveCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<LiveOptions>();
    addSourceOptions(command, options->collection);
    addColorOption(command, options->collection.output);
    CLI::Option* replay =
        command.add_option("--replay", options->script, "show what a script has happen instead")
            ->type_name("FILE");
    for (const char* option : {"--service", "--mdns", "--only", "--without", "--location"}) {
        replay->excludes(command.get_option(option));
    }
    command.add_option("--speed", options->speed, "so many times as fast as it happened")
        ->type_name("N")
        ->check(checkSpeed)
        ->needs(replay);
    command.footer(
        "Keys: up and down choose a row, enter shows all that is known of it, s sorts, / "
        "filters, space pauses, ? helps, q quits. * marks what is new, - what was not seen again.");
    command.callback([options, &status] {
        checkPermissions(options->collection);
        if (options->script == "-") {
            throw CommandError(badInput, "standard input is the keyboard: name the script's file");
        }
        status = guarded([&](ScreenFlag& flag) { return show(*options, flag); });
    });
}

} // namespace Ambrel
