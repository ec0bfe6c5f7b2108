#ifndef AMBREL_TABLE_HPP
#define AMBREL_TABLE_HPP

#include "tools/ambrel/Terminal/Terminal.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel {

struct Column {
    enum class Alignment { left, right };

    std::string heading;
    /// Of the columns of a table, the least useful is narrowed first, and left out first.
    int usefulness = 0;
    std::size_t least = 8; ///< columns of the terminal; narrower it is left out
    Alignment alignment = Alignment::left;
    /// What stands between words where cells go on in further lines; empty: they are cut.
    std::string gap = {};
    /// How many characters at the end of cells, which are ASCII, tell the least: they go before any
    /// cell is cut, one piece after the other.
    std::vector<std::size_t> tails = {};
};

/// As the command line calls them: `local-time` for LOCAL TIME.
std::vector<std::string> columnNames(const std::vector<Column>& columns);

struct Cell {
    /// What is not there.
    Cell() : Cell("-", Meaning::faint) {}
    explicit Cell(std::string text, Meaning meaning = Meaning::plain)
        : words{std::move(text)}, meaning(meaning) {}
    /// For a column with a gap.
    explicit Cell(std::vector<std::string> words, Meaning meaning = Meaning::plain)
        : words(std::move(words)), meaning(meaning) {}

    std::vector<std::string> words;
    Meaning meaning = Meaning::plain;
};

/// A cell with what `shown` makes of a value.
Cell cell(const AmbrelKit::JSONValue& value);

/// Cells in columns that fit the page. Where a page is too narrow, cells that may go on in further
/// lines do so, below their row if need be; then those with tails lose them, others are cut, the
/// least useful column first, and at last columns are left out.
class Table {
public:
    /// What cells hold may be any text. At most one column, the last, has a gap.
    Table(std::vector<Column> columns, Page page, std::size_t indentation = 0);

    /// Of the columns only these, as `columnNames` has them, in this order, but that one with a gap
    /// stays the last. No names: all. Before any row is added.
    void choose(const std::vector<std::string>& names);

    /// May have fewer cells than there are columns.
    void add(std::vector<Cell> row);

    /// The rows since the last time, as lines. The first time, with the headings, if there are any,
    /// it fits the columns to them; what is wider later is cut on a page with an edge.
    [[nodiscard]] std::string take();

    /// A line that names the columns that were left out, where there are any.
    [[nodiscard]] std::string omissions() const;

private:
    struct Fitted {
        std::size_t widest = 0;
        std::size_t width = 0;
        bool shown = true; ///< in its row
    };

    void measure(const std::vector<Cell>& row);
    void fit();
    bool narrow(const std::vector<std::size_t>& leastUsefulFirst);
    [[nodiscard]] bool hasWords() const {
        return !columns_.empty() && !columns_.back().gap.empty();
    }
    [[nodiscard]] std::size_t taken() const;
    [[nodiscard]] std::string written(const std::vector<Cell>& row) const;
    [[nodiscard]] std::string flowing(const Cell& cell, std::size_t start) const;

    std::vector<Column> columns_;
    std::vector<std::size_t> places_; ///< of the chosen columns' cells in their rows
    Page page_;
    std::size_t indentation_;
    std::vector<std::vector<Cell>> rows_;
    std::vector<Fitted> fitted_;
    bool isFitted_ = false;
    bool wordsBelow_ = false; ///< the last column's stand under their rows
};

} // namespace Ambrel

#endif
