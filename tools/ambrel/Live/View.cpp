#include "tools/ambrel/Live/View.hpp"

#include "tools/ambrel/Live/Pages.hpp"
#include "tools/ambrel/Terminal/Terminal.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <array>

namespace Ambrel {

bool View::take(const Key& key) {
    if (page_ == Page::filter) {
        takeFilterKey(key);
        return true;
    }
    if (key.name == Key::Name::text) {
        if (key.text == "q") {
            return false;
        }
        takeText(key.text);
    } else if (key.name == Key::Name::escape || key.name == Key::Name::enter) {
        if (page_ != Page::list) {
            page_ = Page::list;
        } else if (key.name == Key::Name::escape) {
            filter_.clear();
        } else {
            open();
        }
    } else {
        move(key.name);
    }
    return true;
}

void View::takeText(const std::string& text) {
    if (text == " ") {
        feed_.runs() ? feed_.pause() : feed_.goOn();
    } else if (text == "?") {
        page_ = page_ == Page::help ? Page::list : Page::help;
        scroll_ = 0;
    } else if (text == "j" || text == "k") {
        move(text == "j" ? Key::Name::down : Key::Name::up);
    } else if (page_ == Page::list && text == "s") {
        order_ = next(order_);
    } else if (page_ == Page::list && text == "/") {
        page_ = Page::filter;
    }
}

void View::takeFilterKey(const Key& key) {
    switch (key.name) {
    case Key::Name::text:
        filter_ += key.text;
        break;
    case Key::Name::backspace:
        while (!filter_.empty() && continuesCharacter(filter_.back())) {
            filter_.pop_back();
        }
        if (!filter_.empty()) {
            filter_.pop_back();
        }
        break;
    case Key::Name::escape:
        filter_.clear();
        page_ = Page::list;
        break;
    case Key::Name::enter:
        page_ = Page::list;
        break;
    default:
        move(key.name);
    }
}

/// The chosen row's details.
void View::open() {
    const auto rows = this->rows();
    if (!rows.empty()) {
        selected_ = {rows[index_]->kind, rows[index_]->identity};
        page_ = Page::details;
        scroll_ = 0;
    }
}

void View::move(Key::Name key) {
    const bool isList = page_ == Page::list || page_ == Page::filter;
    const auto rows = this->rows();
    std::size_t& place = isList ? index_ : scroll_;
    const std::size_t last = !isList ? unlimited : rows.empty() ? 0 : rows.size() - 1;
    const std::size_t visible = height_ - std::min<std::size_t>(height_, isList ? 1 : 0);
    const auto up = [&](std::size_t count) { place -= std::min(place, count); };
    const auto down = [&](std::size_t count) { place += std::min(last - place, count); };
    switch (key) {
    case Key::Name::up:
        up(1);
        break;
    case Key::Name::down:
        down(isList && !selected_ ? 0 : 1); // the first time, it chooses the first
        break;
    case Key::Name::pageUp:
        up(visible);
        break;
    case Key::Name::pageDown:
        down(visible);
        break;
    case Key::Name::home:
        up(unlimited);
        break;
    case Key::Name::end:
        down(unlimited);
        break;
    default:
        return;
    }
    if (isList && !rows.empty()) {
        selected_ = {rows[index_]->kind, rows[index_]->identity};
    }
}

/// Goes with the chosen one, wherever it stands by now; to its neighbour once that is gone.
std::vector<const Sighting*> View::rows() {
    auto rows = feed_.sightings().rows(order_, filter_);
    const auto chosen = std::ranges::find_if(rows, [this](const Sighting* row) {
        return selected_ && row->kind == selected_->first && row->identity == selected_->second;
    });
    if (chosen != rows.end()) {
        index_ = static_cast<std::size_t>(chosen - rows.begin());
    } else {
        index_ = rows.empty() || !selected_ ? 0 : std::min(index_, rows.size() - 1);
    }
    return rows;
}

std::vector<Line> View::lines(ScreenSize size) {
    std::vector<Line> lines{title()};
    std::string silent;
    for (const auto& [source, why] : feed_.shortfalls()) {
        silent += (silent.empty() ? "can't listen: " : ", ") + source;
    }
    if (!silent.empty()) {
        lines.push_back({{{silent, Meaning::caution}, {"  ?: why", Meaning::faint}}});
    }
    const std::size_t taken = lines.size() + 1; // with the last line
    height_ = size.rows > taken ? size.rows - taken : 0;
    const bool isList = page_ == Page::list || page_ == Page::filter;
    for (Line& line : isList ? list(height_, size.columns) : page(height_, size.columns)) {
        lines.push_back(std::move(line));
    }
    lines.resize(taken - 1 + height_);
    lines.push_back(bottom(size.columns));
    return lines;
}

std::vector<Line> View::list(std::size_t count, std::size_t columns) {
    const auto rows = this->rows();
    const std::size_t height = std::max<std::size_t>(count, 2) - 1; // without the heading
    top_ = std::clamp(top_, index_ + 1 - std::min(index_ + 1, height), index_);
    top_ = std::min(top_, rows.size() - std::min(rows.size(), height));
    auto lines = sightingLines(rows, top_, height, columns, feed_.now().time);
    if (rows.empty()) {
        lines.push_back(
            {{{filter_.empty() ? "  nothing is seen" : "  nothing that is seen has this text",
               Meaning::faint}}});
    } else if (selected_) {
        lines[index_ - top_ + 1].isSelected = true;
    }
    return lines;
}

std::vector<Line> View::page(std::size_t count, std::size_t columns) {
    std::vector<Line> lines;
    if (page_ == Page::help) {
        lines = helpLines(feed_.shortfalls(), columns);
    } else if (const Sighting* sighting =
                   feed_.sightings().find(selected_->first, selected_->second)) {
        lines = detailLines(*sighting, columns, feed_.now().time);
    } else {
        lines = {{{{"It was not seen for a minute."}}}};
    }
    scroll_ = std::min(scroll_, lines.size() - std::min(lines.size(), count));
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(scroll_));
    return lines;
}

/// The most useful first, since it is cut where it does not fit.
Line View::title() const {
    std::string counts;
    for (const SightingKind kind : allSightingKinds) {
        const std::size_t count = feed_.sightings().count(kind);
        if (count > 0) {
            counts += (counts.empty() ? "" : ", ") + std::to_string(count) + " " +
                      std::string(name(kind)) +
                      (count == 1                      ? ""
                       : kind == SightingKind::address ? "es"
                                                       : "s");
        }
    }
    return {{{"ambrel live  ", Meaning::heading},
             {feed_.state(), feed_.runs() ? Meaning::plain : Meaning::caution},
             {"  " + counts}}};
}

Line View::bottom(std::size_t columns) const {
    switch (page_) {
    case Page::filter:
        return {
            {{"/" + ending(printable(filter_), columns - std::min<std::size_t>(columns, 2)) + "▏",
              Meaning::heading},
             {"  enter: keep  escape: show all", Meaning::faint}}};
    case Page::list:
        break;
    default:
        return {{{"enter: back  up, down: scroll  q: quit", Meaning::faint}}};
    }
    Line line{{{"?: help  q: quit  s: sort by " + std::string(name(order_)), Meaning::faint},
               {"  /", Meaning::faint}}};
    line.pieces.push_back(filter_.empty() ? StyledText{": filter", Meaning::faint}
                                          : StyledText{printable(filter_), Meaning::heading});
    const char* space = feed_.isOver() ? "" : feed_.runs() ? "  space: pause" : "  space: go on";
    line.pieces.push_back({space + std::string("  enter: details"), Meaning::faint});
    return line;
}

} // namespace Ambrel
