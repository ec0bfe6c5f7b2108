#include "tools/ambrel/Terminal/Table.hpp"

#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <numeric>
#include <utility>

namespace Ambrel {

namespace {

constexpr std::size_t gapWidth = 2;   // between columns
constexpr std::size_t belowWidth = 4; // from the start of a row to what stands under it

std::string joined(const Cell& cell, const std::string& gap) {
    std::string text;
    for (const std::string& word : cell.words) {
        text += (&word == cell.words.data() ? "" : gap) + word;
    }
    return text;
}

/// Without as many of the tails as it takes to fit.
std::string shortened(std::string text, const std::vector<std::size_t>& tails, std::size_t width) {
    for (const std::size_t tail : tails) {
        if (displayWidth(text) > width) {
            text.resize(text.size() - std::min(tail, text.size()));
        }
    }
    return text;
}

} // namespace

Cell cell(const AmbrelKit::JSONValue& value) {
    return value.is_null() ? Cell() : Cell(shown(value));
}

std::vector<std::string> columnNames(const std::vector<Column>& columns) {
    std::vector<std::string> names;
    for (const Column& column : columns) {
        std::string& name = names.emplace_back(column.heading);
        std::transform(name.begin(), name.end(), name.begin(), [](char c) {
            return c == ' ' ? '-' : c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        });
    }
    return names;
}

Table::Table(std::vector<Column> columns, Page page, std::size_t indentation)
    : columns_(std::move(columns)), page_(page), indentation_(indentation),
      fitted_(columns_.size()) {
    places_.resize(columns_.size());
    std::iota(places_.begin(), places_.end(), 0);
}

void Table::choose(const std::vector<std::string>& names) {
    if (names.empty()) {
        return;
    }
    const auto known = columnNames(columns_);
    std::vector<Column> columns;
    places_.clear();
    for (const bool goesOn : {false, true}) {
        for (const std::string& name : names) {
            const auto place = static_cast<std::size_t>(
                std::find(known.begin(), known.end(), name) - known.begin());
            const bool isNew = std::find(places_.begin(), places_.end(), place) == places_.end();
            if (place < known.size() && isNew && columns_[place].gap.empty() != goesOn) {
                places_.push_back(place);
                columns.push_back(columns_[place]);
            }
        }
    }
    columns_ = std::move(columns);
    fitted_.resize(columns_.size());
}

void Table::add(std::vector<Cell> row) {
    std::vector<Cell> chosen;
    for (const std::size_t place : places_) {
        Cell& cell = chosen.emplace_back(place < row.size() ? std::move(row[place])
                                                            : Cell(std::vector<std::string>{}));
        for (std::string& word : cell.words) {
            word = printable(word);
        }
    }
    rows_.push_back(std::move(chosen));
}

std::string Table::take() {
    std::string text;
    if (columns_.empty()) {
        return text;
    }
    if (!std::exchange(isFitted_, true)) {
        fit();
        std::vector<Cell> headings;
        for (const Column& column : columns_) {
            std::vector<std::string> words{column.heading};
            std::erase(words, "");
            headings.emplace_back(std::move(words), Meaning::heading);
        }
        if (wordsBelow_) {
            headings.back().words.clear();
        }
        const std::string line = written(headings);
        text += line == "\n" ? "" : line; // that has none
    }
    for (const auto& row : std::exchange(rows_, {})) {
        text += written(row);
    }
    return text;
}

std::string Table::omissions() const {
    std::string names;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (!fitted_[i].shown && !(wordsBelow_ && i + 1 == columns_.size())) {
            names += (names.empty() ? "" : ", ") + columns_[i].heading;
        }
    }
    std::string text;
    const std::size_t room = page_.columns - std::min(page_.columns - 1, indentation_);
    for (const std::string& line :
         names.empty() ? std::vector<std::string>{} : lines({"no room for " + names}, " ", room)) {
        text += std::string(indentation_, ' ') + page_.style(Meaning::faint, line) + "\n";
    }
    return text;
}

void Table::measure(const std::vector<Cell>& row) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        fitted_[i].widest =
            std::max(fitted_[i].widest, displayWidth(joined(row[i], columns_[i].gap)));
    }
}

std::size_t Table::taken() const {
    std::size_t width = indentation_;
    for (const Fitted& each : fitted_) {
        width += each.shown ? each.width + gapWidth : 0;
    }
    return width - std::min(width, gapWidth);
}

void Table::fit() {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        fitted_[i].widest = displayWidth(columns_[i].heading);
    }
    for (const auto& row : rows_) {
        measure(row);
    }
    std::vector<std::size_t> leastUsefulFirst(columns_.size());
    std::iota(leastUsefulFirst.begin(), leastUsefulFirst.end(), 0);
    std::stable_sort(leastUsefulFirst.begin(), leastUsefulFirst.end(), [&](auto a, auto b) {
        return columns_[a].usefulness < columns_[b].usefulness;
    });
    if (hasWords()) { // they go on below, rather than have others cut
        std::erase(leastUsefulFirst, columns_.size() - 1);
        for (Fitted& each : fitted_) {
            each.width = each.widest;
        }
        Fitted& words = fitted_.back();
        words.width = std::min(words.widest, columns_.back().least);
        wordsBelow_ = taken() > page_.columns;
        words.shown = !wordsBelow_;
    }
    while (!narrow(leastUsefulFirst) && leastUsefulFirst.size() > 1) {
        fitted_[leastUsefulFirst.front()].shown = false;
        leastUsefulFirst.erase(leastUsefulFirst.begin());
    }
    if (hasWords() && !wordsBelow_) {
        Fitted& words = fitted_.back();
        words.width = std::min(words.widest, page_.columns - (taken() - words.width));
    }
}

/// Whether those that are shown fit the page now.
bool Table::narrow(const std::vector<std::size_t>& leastUsefulFirst) {
    for (const std::size_t i : leastUsefulFirst) {
        fitted_[i].width = fitted_[i].widest;
    }
    for (const std::size_t i : leastUsefulFirst) {
        for (const std::size_t tail : columns_[i].tails) {
            if (taken() > page_.columns && fitted_[i].width >= columns_[i].least + tail) {
                fitted_[i].width -= tail;
            }
        }
    }
    for (const std::size_t i : leastUsefulFirst) {
        if (taken() > page_.columns) {
            const std::size_t excess = taken() - page_.columns;
            const std::size_t least = std::min(columns_[i].least, fitted_[i].widest);
            fitted_[i].width =
                std::max(least, fitted_[i].width - std::min(excess, fitted_[i].width));
        }
    }
    return taken() <= page_.columns;
}

std::string Table::written(const std::vector<Cell>& row) const {
    std::string line;
    std::size_t column = 0; // behind what is written
    std::size_t start = indentation_;
    std::string further;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const Cell& cell = row[i];
        if (hasWords() && i + 1 == columns_.size()) {
            further = flowing(cell, wordsBelow_ ? indentation_ + belowWidth : start);
            break;
        }
        if (!fitted_[i].shown) {
            continue;
        }
        const std::size_t width = fitted_[i].width;
        const std::string whole = joined(cell, " ");
        const std::string text = page_.columns == unlimited
                                     ? whole
                                     : cut(shortened(whole, columns_[i].tails, width), width);
        const bool right = columns_[i].alignment == Column::Alignment::right;
        const std::size_t begin = std::max(start + (right ? padding(text, width).size() : 0),
                                           column + (column > 0 ? gapWidth : 0));
        if (!text.empty()) {
            line += std::string(begin - column, ' ') + page_.style(cell.meaning, text);
            column = begin + displayWidth(text);
        }
        start += width + gapWidth;
    }
    if (wordsBelow_ || further.empty()) {
        return line + "\n" + further;
    }
    // The first line of the words goes on with the row's.
    const std::size_t begin = std::max(start, column + (column > 0 ? gapWidth : 0));
    return line + std::string(begin - column, ' ') + further.substr(start);
}

/// The lines of a cell, from `start` on.
std::string Table::flowing(const Cell& cell, std::size_t start) const {
    const std::size_t width =
        wordsBelow_ ? page_.columns - std::min(page_.columns, start) : fitted_.back().width;
    std::string text;
    const std::size_t least = 1;
    for (const std::string& line :
         lines(cell.words, columns_.back().gap,
               page_.columns == unlimited ? unlimited : std::max(width, least))) {
        text += std::string(start, ' ') + page_.style(cell.meaning, line) + "\n";
    }
    return text;
}

} // namespace Ambrel
