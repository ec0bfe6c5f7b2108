#include "tools/ambrel/Live/Pages.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <span>
#include <string>
#include <utility>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;
using std::chrono::nanoseconds;
using namespace std::chrono_literals;

namespace {

std::string dateOf(const Moment& moment) {
    const std::chrono::duration<double> time = moment.date.time_since_epoch();
    return localTime(time.count()).value_or("-");
}

std::string clockTime(const Moment& moment) {
    constexpr std::size_t at = 11; // behind the day
    constexpr std::size_t length = 8;
    const std::string date = dateOf(moment);
    return date.size() >= at + length ? date.substr(at, length) : "-";
}

std::string ageOf(const Moment& moment, nanoseconds now) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(now - moment.time).count();
    return seconds < 2 ? "now" : std::to_string(seconds) + " s";
}

/// Four steps of 12 dB: a weak signal that is still heard, to one from the same room.
std::string bar(int strength) {
    constexpr std::array<const char*, 4> steps{"▂", "▄", "▆", "█"};
    constexpr int weakest = -96;
    constexpr int step = 12;
    std::string text;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        text += strength >= weakest + step * static_cast<int>(i) ? steps.at(i) : "_";
    }
    return text;
}

/// Without what joins characters to one picture: terminals take that for one or for several, and
/// ncurses, which counts them one by one, would draw beside it.
std::string unjoined(std::string text) {
    for (const std::string_view joiner : {"\u200d", "\ufe0f", "\U0001f3fb", "\U0001f3fc",
                                          "\U0001f3fd", "\U0001f3fe", "\U0001f3ff"}) {
        for (auto at = text.find(joiner); at != text.npos; at = text.find(joiner, at)) {
            text.erase(at, joiner.size());
        }
    }
    return text;
}

std::string nameOf(const Sighting& sighting) {
    return sighting.name.empty() ? "(no name)" : unjoined(printable(sighting.name));
}

Meaning meaningOf(const Sighting& row, nanoseconds now) {
    return row.fades(now) ? Meaning::faint : row.isNew(now) ? Meaning::fresh : Meaning::plain;
}

const char* markOf(const Sighting& row, nanoseconds now) {
    return row.fades(now) ? "-" : row.isNew(now) ? "*" : " ";
}

struct SightingColumn {
    const char* heading;
    std::size_t width;
    std::function<std::string(const Sighting&)> text;
    bool isShown = true;
};

std::string fitted(const std::string& text, std::size_t width) {
    const std::string shown = cut(text, width);
    return shown + padding(shown, width);
}

/// Which columns there are, and how wide the two are that have what strangers chose.
std::array<SightingColumn, 6> columnsFor(std::span<const Sighting* const> rows, bool strengths,
                                         std::size_t width, nanoseconds now) {
    constexpr std::size_t mark = 1;
    constexpr std::size_t leastName = 15;
    constexpr std::size_t leastNote = 14;
    std::array<SightingColumn, 6> columns{{
        {"NAME", 0, nameOf},
        {"KIND", 10, [](const Sighting& row) { return std::string(name(row.kind)); }},
        {"DETAIL", leastNote, [](const Sighting& row) { return unjoined(printable(row.note)); }},
        {"SIGNAL", 9,
         [](const Sighting& row) {
             return row.strength ? bar(*row.strength) + " " + std::to_string(*row.strength) : "";
         }},
        {"FIRST", 8, [](const Sighting& row) { return clockTime(row.first); }},
        {"LAST", 4, [now](const Sighting& row) { return ageOf(row.last, now); }},
    }};
    columns[3].isShown = strengths;
    const auto left = [&] {
        std::size_t taken = mark;
        for (const SightingColumn& column : columns) {
            taken += column.isShown ? column.width + 1 : 0;
        }
        return width > taken ? width - taken : 0;
    };
    for (const std::size_t leastUseful : {4, 2, 1, 3}) {
        if (left() < leastName) {
            columns.at(leastUseful).isShown = false;
        }
    }
    columns[0].width = left();
    if (columns[2].isShown) {
        std::size_t widest = leastName;
        for (const Sighting* row : rows) {
            widest = std::max(widest, displayWidth(nameOf(*row)));
        }
        constexpr std::size_t step = 8; // that columns move seldom
        const std::size_t wanted = (widest + step - 1) / step * step;
        const std::size_t name = std::min(wanted, std::max(leastName, columns[0].width * 3 / 5));
        if (name < columns[0].width) {
            columns[2].width += columns[0].width - name;
            columns[0].width = name;
        }
    }
    return columns;
}

void addDetail(std::vector<Line>& lines, const std::string& name, const JSONValue& value,
               std::size_t indentation, std::size_t columns) {
    const std::string margin(indentation, ' ');
    if (value.is_object()) {
        lines.push_back({{{margin + unjoined(printable(name)), Meaning::heading}}});
        for (const auto& [key, each] : value.items()) {
            addDetail(lines, key, each, indentation + 2, columns);
        }
        return;
    }
    std::vector<std::string> words;
    for (const JSONValue& each : value.is_array() ? value : JSONValue::array({value})) {
        words.push_back(unjoined(shown(each)));
    }
    constexpr std::size_t leastRoom = 8;
    const std::string heading = margin + unjoined(printable(name)) + "  ";
    const bool below = displayWidth(heading) + leastRoom > columns;
    const std::size_t start = below ? indentation + 2 : displayWidth(heading);
    const std::size_t room = std::max(columns, start + leastRoom) - start;
    Line line{{{heading, Meaning::heading}}};
    bool isFirst = !below;
    if (below) {
        lines.push_back(line);
    }
    for (const std::string& text : Ambrel::lines(words, ", ", room)) {
        line.pieces = isFirst ? line.pieces : std::vector<StyledText>{{std::string(start, ' ')}};
        line.pieces.push_back({text});
        lines.push_back(line);
        isFirst = false;
    }
}

} // namespace

std::vector<Line> sightingLines(const std::vector<const Sighting*>& rows, std::size_t first,
                                std::size_t count, std::size_t columns, nanoseconds now) {
    const bool strengths =
        std::ranges::any_of(rows, [](const Sighting* row) { return row->strength.has_value(); });
    const auto shownRows = std::span(rows).subspan(first, std::min(count, rows.size() - first));
    const auto shownColumns = columnsFor(shownRows, strengths, columns, now);
    Line heading{{{" ", Meaning::heading}}};
    for (const SightingColumn& column : shownColumns) {
        if (column.isShown) {
            heading.pieces.push_back(
                {" " + fitted(column.heading, column.width), Meaning::heading});
        }
    }
    std::vector<Line> lines{heading};
    for (const Sighting* row : shownRows) {
        std::string text = markOf(*row, now);
        for (const SightingColumn& column : shownColumns) {
            text += column.isShown ? " " + fitted(column.text(*row), column.width) : "";
        }
        lines.push_back({{{std::move(text), meaningOf(*row, now)}}});
    }
    return lines;
}

std::vector<Line> detailLines(const Sighting& sighting, std::size_t columns, nanoseconds now) {
    std::vector<Line> lines{{{{nameOf(sighting), Meaning::heading}}}, {}};
    JSONDictionary told{
        {"kind", name(sighting.kind)},
        {"first seen", dateOf(sighting.first)},
        {"last seen", dateOf(sighting.last) + " (" + ageOf(sighting.last, now) + ")"}};
    if (sighting.strength) {
        told["signal"] =
            bar(*sighting.strength) + " " + std::to_string(*sighting.strength) + " dBm";
    }
    for (const auto& [key, value] : told) {
        addDetail(lines, key, value, 0, columns);
    }
    lines.emplace_back();
    for (const auto& [key, value] : sighting.details) {
        addDetail(lines, key, value, 0, columns);
    }
    return lines;
}

std::vector<Line> helpLines(const std::vector<std::pair<std::string, std::string>>& shortfalls,
                            std::size_t columns) {
    constexpr std::array<std::pair<const char*, const char*>, 9> keys{{
        {"up, down", "choose a row; also k, j, page up, page down, home, end"},
        {"enter", "all that is known of the row"},
        {"s", "sort by the next: kind, name, last seen, first seen, signal"},
        {"/", "show only rows with this text; escape shows all again"},
        {"space", "pause, and go on: nothing is collected meanwhile"},
        {"?", "this help"},
        {"q", "quit"},
        {"*", "marks what is new, for ten seconds"},
        {"-", "marks what was not seen again; it goes a minute after it was seen last"},
    }};
    std::vector<Line> lines;
    for (const auto& [key, meaning] : keys) {
        addDetail(lines, key, meaning, 0, columns);
    }
    if (!shortfalls.empty()) {
        lines.push_back({});
        lines.push_back({{{"can't listen:", Meaning::caution}}});
    }
    for (const auto& [source, why] : shortfalls) {
        addDetail(lines, source, why, 0, columns);
    }
    return lines;
}

} // namespace Ambrel
