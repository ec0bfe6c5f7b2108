#ifndef AMBREL_PAGES_HPP
#define AMBREL_PAGES_HPP

#include "tools/ambrel/Live/Screen.hpp"
#include "tools/ambrel/Live/Sightings.hpp"

#include <chrono>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel {

/// A heading, and a line for each of so many rows from the `first` on: as many columns as fit, the
/// least useful left out first.
std::vector<Line> sightingLines(const std::vector<const Sighting*>& rows, std::size_t first,
                                std::size_t count, std::size_t columns,
                                std::chrono::nanoseconds now);

/// All that is known of a sighting.
std::vector<Line> detailLines(const Sighting& sighting, std::size_t columns,
                              std::chrono::nanoseconds now);

/// What the keys and marks mean, and why some sources can't listen.
std::vector<Line> helpLines(const std::vector<std::pair<std::string, std::string>>& shortfalls,
                            std::size_t columns);

} // namespace Ambrel

#endif
