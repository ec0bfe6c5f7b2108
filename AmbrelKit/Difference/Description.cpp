#include "AmbrelKit/Difference/Difference.hpp"
#include "AmbrelKit/Difference/DifferenceText.hpp"
#include "AmbrelKit/Internal/Extensions/DoubleText.hpp"
#include "AmbrelKit/Platform/Hexadecimal.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <tuple>
#include <utility>
#include <vector>

namespace AmbrelKit {

using Differences::Node;
using Differences::Part;
using Differences::Value;

namespace {

constexpr std::size_t greatestDepth = 512; ///< that the stack bears

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

/// The values that are open, each inside the one before, while they are described.
struct Description::Draft {
    struct Open {
        Part part = {}; ///< as which it joins the one before
        Node node = {};
        Part next = {}; ///< its next part as far as that is known
    };

    [[nodiscard]] Node& node() { return open.back().node; }

    void label(Value name, bool isKey) {
        node().kind = Node::Kind::fields;
        open.back().next = {.label = name, .value = nullptr, .isKey = isKey};
    }

    Value finished() {
        Node last = std::move(node());
        open.pop_back();
        return table(std::move(last));
    }

    DifferenceOptions options;
    Differences::ValueTable table = {};
    std::vector<Open> open = std::vector<Open>(1);
    std::size_t count = 0; ///< of the parts of this element of the outermost
    bool isCut = false;    ///< something was beyond the bounds
};

Description::Description(const DifferenceOptions& options)
    : draft_(std::make_unique<Draft>(Draft{.options = options})) {}

Description::~Description() = default;

std::string Description::differenceText() {
    const auto& parts = draft_->node().parts;
    std::string text = Differences::differenceText(draft_->table, parts.front().value,
                                                   parts.back().value, draft_->options);
    if (draft_->isCut) {
        text += "~ more than " + std::to_string(draft_->options.greatestCount) + " parts or " +
                std::to_string(greatestDepth) + " levels: the rest is not compared\n";
    }
    return text;
}

void Description::label(std::string_view name, bool isKey) {
    const Node node{.kind = Node::Kind::text, .text = std::string(name)};
    draft_->label(draft_->table(node), isKey);
}

bool Description::open() {
    Draft& draft = *draft_;
    const Part part = std::exchange(draft.open.back().next, {});
    if (draft.open.size() == 1) {
        draft.count = 0;
    } else if (draft.open.size() > 1 + greatestDepth ||
               draft.count == draft.options.greatestCount) {
        draft.isCut = true;
        return false;
    } else {
        ++draft.count;
    }
    draft.open.push_back({.part = part});
    return true;
}

void Description::close() {
    Part part = draft_->open.back().part;
    part.value = draft_->finished();
    draft_->node().parts.push_back(part);
}

void Description::closeAsLabel() {
    const Value name = draft_->finished();
    draft_->label(name, false);
}

void Description::beginList() { draft_->node().kind = Node::Kind::list; }

void Description::sortParts() {
    const auto key = [](const Part& part) {
        return std::tie(part.label->text, part.label, part.value);
    };
    auto& parts = draft_->node().parts;
    std::sort(parts.begin(), parts.end(),
              [key](const Part& a, const Part& b) { return key(a) < key(b); });
}

void Description::word(std::string_view text) {
    draft_->node().kind = Node::Kind::word;
    draft_->node().text = text;
}

void Description::number(double number) { word(doubleText(number)); }

void Description::text(std::string_view text) {
    draft_->node().kind = Node::Kind::text;
    draft_->node().text = text;
}

void Description::time(std::int64_t seconds, std::int64_t nanoseconds) {
    using namespace std::chrono;
    const bool isBefore = nanoseconds < 0; // the whole seconds
    const sys_seconds time{std::chrono::seconds(seconds - (isBefore ? 1 : 0))};
    constexpr sys_seconds end = sys_days(year(10'000) / 1 / 1);
    if (time < sys_days(year(0) / 1 / 1) || time >= end) {
        return word(std::to_string(seconds) + fraction(std::abs(nanoseconds)) + " s after 1970");
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
    constexpr std::int64_t second = 1'000'000'000;
    word(text.data() + fraction(isBefore ? second + nanoseconds : nanoseconds) + "Z");
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
        return write(value.get<bool>());
    case JSONValue::value_t::number_integer:
        return write(value.get<std::int64_t>());
    case JSONValue::value_t::number_unsigned:
        return write(value.get<std::uint64_t>());
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
