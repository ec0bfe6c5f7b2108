#ifndef AMBREL_PROGRESS_HPP
#define AMBREL_PROGRESS_HPP

#include "tools/ambrel/Collecting/CollectionOptions.hpp"
#include "tools/ambrel/Collecting/ObservedPlatform.hpp"
#include "tools/ambrel/Terminal/Style.hpp"

#include "AmbrelKit/Platform/SourceReports.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace Ambrel {

/// How much the collection that was begun last has seen so far.
class CollectionCounts final : public PlatformObserver {
public:
    void timerDidSchedule() override;
    void bluetoothDidDiscover(const AmbrelKit::Peripheral& peripheral,
                              const AmbrelKit::JSONDictionary& advertisementData,
                              int rssi) override;
    void bonjourDidResolve(const AmbrelKit::NetService& service) override;
    void locationDidUpdate(const std::vector<AmbrelKit::LocationFix>& fixes) override;
    void networkDidAnswer(const std::optional<std::string>& addressIPv4,
                          const std::vector<AmbrelKit::Linux::JoinedNetwork>& joined) override;

    /// Whether a collection has begun that was not said to have ended.
    [[nodiscard]] bool running() const { return running_; }
    /// Says so; whether it was running.
    bool end() { return std::exchange(running_, false); }
    [[nodiscard]] std::size_t seen(AmbrelKit::Source source) const;

private:
    bool running_ = false;
    std::unordered_set<AmbrelKit::UUID> peripherals_;
    std::set<std::pair<std::string, std::string>> services_;
    std::size_t fixes_ = 0;
    std::size_t addresses_ = 0;
    std::size_t networks_ = 0;
};

/// The one line on a terminal that a running collection renews. Gone when this goes.
class Progress {
public:
    /// Whether standard error is a terminal that such a line can be drawn on, and the line is to be
    /// there: where standard output is a pipe, a program behind it may be drawing on the same one.
    static bool isPossible(const CollectionOptions& options);

    /// The collection begins now; `counts` and `sources` are read at each renewal.
    Progress(std::shared_ptr<const CollectionCounts> counts,
             std::shared_ptr<const AmbrelKit::SourceReports> sources, CollectionOptions options);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// Draws the line anew when its time has come. Returns how long from now it stays as it is.
    std::chrono::milliseconds renew();

    /// Takes the line away until it is drawn anew.
    void clear();

private:
    struct Piece {
        std::string text;
        std::size_t width = 0; ///< on the terminal
    };
    using Name = std::string_view (*)(AmbrelKit::Source);

    [[nodiscard]] std::string line(std::chrono::steady_clock::duration elapsed) const;
    [[nodiscard]] Piece seen(Name name, const std::string& gap, std::size_t width) const;

    std::shared_ptr<const CollectionCounts> counts_;
    std::shared_ptr<const AmbrelKit::SourceReports> sources_;
    CollectionOptions options_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point due_;
    Style style_;
};

} // namespace Ambrel

#endif
