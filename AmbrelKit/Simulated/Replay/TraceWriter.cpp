#include "AmbrelKit/Simulated/Replay/TraceWriter.hpp"

#include "AmbrelKit/Simulated/Replay/Seconds.hpp"

#include <nlohmann/json.hpp>
#include <utility>

namespace AmbrelKit::Simulated {

namespace {

void append(std::string& line, const JSONValue& value) {
    line += value.dump(-1, ' ', false, JSONValue::error_handler_t::replace);
}

/// Member by member: a JSON value of the whole dictionary would first have to copy it.
void append(std::string& line, const JSONDictionary& dictionary) {
    line += '{';
    for (const auto& [key, value] : dictionary) {
        if (line.back() != '{') {
            line += ',';
        }
        append(line, JSONValue(key));
        line += ':';
        append(line, value);
    }
    line += '}';
}

void append(std::string& line, const Argument& argument) {
    std::visit(
        [&](const auto& value) {
            if constexpr (std::is_pointer_v<std::remove_cvref_t<decltype(value)>>) {
                append(line, *value);
            } else {
                append(line, JSONValue(value));
            }
        },
        argument.value);
}

const JSONDictionary* deliveredBy(const Event& event) {
    if (event.object == "delegate" && !event.arguments.empty()) {
        if (const auto* data = std::get_if<const JSONDictionary*>(&event.arguments[0].value)) {
            return *data;
        }
    }
    return nullptr;
}

} // namespace

TraceWriter::TraceWriter(TraceOptions options, std::function<void(std::string_view)> print)
    : options_(options), print_(std::move(print)) {}

void TraceWriter::write(const Event& event) {
    const JSONDictionary* delivered = deliveredBy(event);
    const bool isQuery = event.object == "delegate" && delivered == nullptr;
    if (options_.quiet ? delivered == nullptr : isQuery && !options_.queries) {
        return;
    }
    line_.clear();
    if (options_.quiet) {
        append(line_, *delivered);
    } else {
        line_ += "{\"at\":";
        appendSeconds(line_, event.at);
        line_ += ",\"";
        line_ += event.object;
        line_ += "\":\"";
        line_ += event.operation;
        line_ += '"';
        for (const Argument& argument : event.arguments) {
            line_ += ",\"";
            line_ += argument.name;
            line_ += "\":";
            append(line_, argument);
        }
        line_ += '}';
    }
    line_ += '\n';
    print_(line_);
}

} // namespace AmbrelKit::Simulated
