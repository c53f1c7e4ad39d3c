#include "targets/event_reference.h"

#include "support/numeric.h"

#include <limits>

namespace ZoHmiEventLogger {

using ZoHmiSrv::Binary;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;
namespace Algorithm = ZoHmiSrv::Algorithm;

namespace {

/// Returns the text of a parameter. `converted` owns the text of a parameter of another type.
std::optional<std::string_view> text_of(const Value& parameter, Value& converted) {
    if (!parameter.isset()) return std::nullopt;
    if (parameter.type() == ValueType::String) return parameter.get_string();
    converted = parameter;
    return converted.convert(ValueType::String).get_string();
}

std::optional<GUID> guid_of(const Value& parameter) {
    Value converted;
    const auto text = text_of(parameter, converted);
    return text ? Algorithm::guid_from_string(*text, true) : std::nullopt;
}

std::optional<double> number_of(const Value& parameter) {
    if (!parameter.isset()) return std::nullopt;
    if (parameter.type() == ValueType::Double) return parameter.get_double();
    Value copy = parameter;
    return copy.convert(ValueType::Double).get_double();
}

/// Returns the bytes of a parameter. `converted` owns the bytes of a text.
Binary bytes_of(const Value& parameter, std::optional<Value>& converted) {
    if (parameter.type() != ValueType::String) return parameter;
    converted = parameter;
    return converted->convert(ValueType::Binary);
}

std::string_view view_of(const Binary& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace

EventReference::EventReference(const Value& parameters, ValueType type, std::int32_t language) {
    const auto event_class = guid_of(parameters["eventClass"]);
    if (const auto source = text_of(parameters["sourceName"], converted_source_)) {
        const auto source_class = guid_of(parameters["sourceGuid"]);
        if (source_class || event_class) source_name = {source_class ? *source_class : *event_class, *source, language};
    }
    if (!event_class) return;
    class_name = {*event_class, language};
    const auto id = number_of(parameters["eventId"]);
    if (!id) return;
    const std::uint32_t event_id = Algorithm::uint32_from_double(*id);
    kind = {*event_class, event_id, language};
    const auto count = number_of(parameters["numArguments"]);
    if (!count) return;
    read_arguments(parameters, Algorithm::saturating_cast<std::int32_t>(*count));
    text = {event_id, view_of(data_), *event_class, type, language};
}

void EventReference::read_arguments(const Value& parameters, std::int32_t count) {
    const Value& types = parameters["types"];
    const Value& data = parameters["data"];
    if (count == 0 || !types.isset() || !data.isset()) return;
    const Binary type_bytes = bytes_of(types, converted_types);
    const Binary data_bytes = bytes_of(data, converted_data);
    if (type_bytes.size() + data_bytes.size() > std::numeric_limits<std::int32_t>::max()) return;
    types_ = type_bytes;
    data_ = data_bytes;
    const auto types_size = static_cast<std::uint32_t>(types_.size());
    arguments = {static_cast<std::uint32_t>(count), 0, types_size, types_size,
                 static_cast<std::uint32_t>(data_.size())};
}

std::string EventReference::argument_block() const {
    std::string block;
    block.reserve(types_.size() + data_.size());
    block += view_of(types_);
    block += view_of(data_);
    return block;
}

} // namespace ZoHmiEventLogger
