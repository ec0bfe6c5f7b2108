#ifndef AMBREL_FEED_HPP
#define AMBREL_FEED_HPP

#include "tools/ambrel/Collecting/DetailedReports.hpp"
#include "tools/ambrel/Live/Sightings.hpp"

#include "AmbrelKit/Platform/SourceReports.hpp"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel {

/// What the view shows, and where that comes from: it works on the thread's `RunLoop`.
class Feed {
public:
    Feed() = default;
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;
    virtual ~Feed() = default;

    [[nodiscard]] virtual Moment now() const = 0;

    /// Whether its time goes on: it has not been paused, and is not over.
    [[nodiscard]] virtual bool runs() const = 0;
    [[nodiscard]] virtual bool isOver() const { return false; }
    virtual void pause() = 0;
    virtual void goOn() = 0;

    /// What it waits for beside the run loop: to be read, whereupon `takeInput()` is to be called;
    /// -1 where that is nothing.
    [[nodiscard]] virtual int fileDescriptor() const { return -1; }
    virtual void takeInput() {}

    /// In a few words, what is going on.
    [[nodiscard]] virtual std::string state() const = 0;

    /// Called when something may be shown differently.
    void setChanged(std::function<void()> changed) { changed_ = std::move(changed); }

    /// Without what was not seen for too long.
    const Sightings& sightings() {
        sightings_.drop(now().time);
        return sightings_;
    }

    /// The sources that can't listen, each with why, and what would help.
    [[nodiscard]] std::vector<std::pair<std::string, std::string>> shortfalls() const;

protected:
    /// Is told what the platform reports, for as long as the feed lives.
    std::shared_ptr<PlatformObserver> makeObserver();
    /// To be called when a source fares otherwise.
    void sourcesChanged(const AmbrelKit::SourceReports& sources);
    void changed() const { changed_(); }
    [[nodiscard]] std::size_t collections() const { return collections_; }

private:
    class Reports;

    Sightings sightings_;
    std::size_t collections_ = 0;
    /// As last told while it was asked: between two collections nobody is.
    std::array<AmbrelKit::SourceCondition, AmbrelKit::allSources.size()> conditions_;
    std::function<void()> changed_ = [] {};
};

} // namespace Ambrel

#endif
