#include "tools/ambrel/Report/Bins.hpp"

#include "tools/ambrel/Report/LocalTime.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

void Bins::Bin::add(const Bin& other) {
    collections += other.collections;
    peripheralSum += other.peripheralSum;
    peripheralMax = std::max(peripheralMax, other.peripheralMax);
    serviceSum += other.serviceSum;
    serviceMax = std::max(serviceMax, other.serviceMax);
}

void Bins::add(std::int64_t time, const Counts& counts) {
    constexpr std::size_t most = 2'000;
    if (bins_.empty()) {
        origin_ = beginOfWeek(time);
    }
    bins_[(time - origin_) / width_].add(
        {1, counts.peripherals, counts.peripherals, counts.services, counts.services});
    while (bins_.size() > most) {
        widen();
    }
}

/// To the next width, of which the present one is a part.
void Bins::widen() {
    constexpr std::array widths{minute,   5 * minute, 15 * minute, 30 * minute, hour,    3 * hour,
                                6 * hour, 12 * hour,  day,         week,        4 * week};
    const auto* wider = std::upper_bound(widths.begin(), widths.end(), width_);
    const std::int64_t factor = wider != widths.end() ? *wider / width_ : 10;
    width_ *= factor;
    for (const auto& [number, bin] : std::exchange(bins_, {})) {
        bins_[number / factor].add(bin);
    }
}

JSONDictionary Bins::model() const {
    JSONDictionary model{{"width", nullptr}, {"origin", nullptr}};
    if (!bins_.empty()) {
        model = {{"width", width_}, {"origin", origin_}};
    }
    constexpr std::pair<const char*, std::size_t Bin::*> columns[] = {
        {"collections", &Bin::collections},
        {"peripheralSum", &Bin::peripheralSum},
        {"peripheralMax", &Bin::peripheralMax},
        {"serviceSum", &Bin::serviceSum},
        {"serviceMax", &Bin::serviceMax}};
    JSONValue numbers = JSONValue::array();
    for (const auto& [number, bin] : bins_) {
        numbers.push_back(number);
    }
    model["at"] = std::move(numbers);
    for (const auto& [name, member] : columns) {
        JSONValue column = JSONValue::array();
        for (const auto& [number, bin] : bins_) {
            column.push_back(bin.*member);
        }
        model[name] = std::move(column);
    }
    return model;
}

} // namespace Ambrel
