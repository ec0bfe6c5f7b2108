#include "AmbrelKit/Difference/Difference.hpp"
#include "AmbrelKit/Difference/DifferenceText.hpp"
#include "AmbrelKit/Difference/Draft.hpp"
#include "AmbrelKit/Internal/Extensions/DoubleText.hpp"
#include "AmbrelKit/Platform/Hexadecimal.hpp"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace AmbrelKit {

using Differences::Draft;
using Differences::Node;

namespace {

/// The digits of a fraction of a second behind its point, or nothing.
std::string fraction(std::int64_t nanoseconds) {
    if (nanoseconds == 0) {
        return {};
    }
    constexpr int digits = 9;
    std::string text = std::to_string(nanoseconds);
    text.insert(0, digits - text.size(), '0');
    text.erase(text.find_last_not_of('0') + 1);
    return "." + text;
}

std::string wordOf(const JSONValue::binary_t& bytes) {
    const std::string text(bytes.begin(), bytes.end());
    return "bytes " + hexadecimal(text) +
           (bytes.has_subtype() ? " of subtype " + std::to_string(bytes.subtype()) : "");
}

bool isText(const JSONDictionary& dictionary, std::string_view key) {
    const auto found = dictionary.find(key);
    return found != dictionary.end() && found->second.is_string();
}

} // namespace

Description::Description() : draft_(std::make_unique<Draft>()) {}

Description::~Description() = default;

std::string Description::differenceText(const DifferenceOptions& options) {
    const auto& parts = draft_->node().parts;
    Differences::DifferenceText text(draft_->table, options);
    return text(parts.front().value, parts.back().value, draft_->isCut());
}

void Description::word(std::string_view text) {
    draft_->node().kind = Node::Kind::word;
    draft_->node().text = text;
}

void Description::label(std::string_view name, bool isKey) {
    const Node node{.kind = Node::Kind::text, .text = std::string(name)};
    draft_->label(draft_->table(node), isKey);
}

bool Description::open() { return draft_->open(); }
void Description::close() { draft_->close(); }
void Description::closeAsLabel() { draft_->closeAsLabel(); }

void Description::beginList() { draft_->node().kind = Node::Kind::list; }

void Description::beginMap(bool isOrdered) {
    if (!isOrdered) {
        draft_->sortParts();
    }
}

void Description::absent() { word("absent"); }
void Description::boolean(bool truth) { word(truth ? "true" : "false"); }
void Description::integer(std::int64_t number) { word(std::to_string(number)); }
void Description::natural(std::uint64_t number) { word(std::to_string(number)); }
void Description::number(double number) { word(doubleText(number)); }

void Description::text(std::string_view text) {
    draft_->node().kind = Node::Kind::text;
    draft_->node().text = text;
}

void Description::time(std::int64_t seconds, std::int64_t nanoseconds) {
    using namespace std::chrono;
    const sys_seconds time{std::chrono::seconds(seconds)};
    constexpr sys_seconds end = sys_days(year(10'000) / 1 / 1);
    if (time < sys_days(year(0) / 1 / 1) || time >= end) {
        return word(std::to_string(seconds) + fraction(nanoseconds) + " s after 1970");
    }
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    word(text.data() + fraction(nanoseconds) + "Z");
}

void Description::duration(std::int64_t count, std::intmax_t numerator, std::intmax_t denominator) {
    static constexpr struct {
        std::intmax_t numerator, denominator;
        const char* unit;
    } units[] = {{1, 1'000'000'000, "ns"}, {1, 1'000'000, "us"}, {1, 1000, "ms"}, {1, 1, "s"},
                 {60, 1, "min"},           {3600, 1, "h"},       {86400, 1, "d"}};
    std::string unit = std::to_string(numerator) + "/" + std::to_string(denominator) + " s";
    for (const auto& known : units) {
        if (known.numerator == numerator && known.denominator == denominator) {
            unit = known.unit;
        }
    }
    word(std::to_string(count) + " " + unit);
}

void Description::json(const JSONValue& value) {
    switch (value.type()) {
    case JSONValue::value_t::object:
        return json(value.get_ref<const JSONDictionary&>());
    case JSONValue::value_t::array:
        beginList();
        for (const JSONValue& element : value) {
            add(element);
        }
        return;
    case JSONValue::value_t::string:
        return text(value.get_ref<const std::string&>());
    case JSONValue::value_t::boolean:
        return boolean(value.get<bool>());
    case JSONValue::value_t::number_integer:
        return integer(value.get<std::int64_t>());
    case JSONValue::value_t::number_unsigned:
        return natural(value.get<std::uint64_t>());
    case JSONValue::value_t::number_float:
        return number(value.get<double>());
    case JSONValue::value_t::binary:
        return word(wordOf(value.get_binary()));
    case JSONValue::value_t::null:
        return word("null");
    case JSONValue::value_t::discarded:
        return word("discarded");
    }
}

void Description::json(const JSONDictionary& dictionary) {
    const bool isService = isText(dictionary, "protocolType") && isText(dictionary, "name");
    const bool isPeripheral = !isService && isText(dictionary, "address");
    for (const auto& [name, value] : dictionary) {
        const bool isKey = isService ? name == "protocolType" || name == "name"
                                     : isPeripheral && name == "address";
        label(name, isKey);
        add(value);
    }
}

} // namespace AmbrelKit
