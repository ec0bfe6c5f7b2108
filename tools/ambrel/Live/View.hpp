#ifndef AMBREL_VIEW_HPP
#define AMBREL_VIEW_HPP

#include "tools/ambrel/Live/Feed.hpp"
#include "tools/ambrel/Live/Screen.hpp"
#include "tools/ambrel/Live/Sightings.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel {

/// What the user sees of a feed, as lines, and what the keys do.
class View {
public:
    explicit View(Feed& feed) : feed_(feed) {}

    /// Whether the user goes on.
    [[nodiscard]] bool take(const Key& key);

    [[nodiscard]] std::vector<Line> lines(ScreenSize size);

private:
    enum class Page : std::uint8_t { list, filter, details, help };

    void takeText(const std::string& text);
    void takeFilterKey(const Key& key);
    void move(Key::Name key);
    void open();
    [[nodiscard]] std::vector<const Sighting*> rows();
    [[nodiscard]] Line title() const;
    [[nodiscard]] Line bottom(std::size_t columns) const;
    [[nodiscard]] std::vector<Line> list(std::size_t count, std::size_t columns);
    [[nodiscard]] std::vector<Line> page(std::size_t count, std::size_t columns);

    Feed& feed_;
    Page page_ = Page::list;
    SightingOrder order_ = SightingOrder::kind;
    std::string filter_;
    /// The row that was chosen; until then it is the first, whichever that is.
    std::optional<std::pair<SightingKind, std::string>> selected_;
    std::size_t index_ = 0;  ///< of that row
    std::size_t top_ = 0;    ///< the first row that is shown
    std::size_t scroll_ = 0; ///< the first line that is shown of another page
    std::size_t height_ = 1; ///< how many lines there were for them
};

} // namespace Ambrel

#endif
