#include "targets/event_reference.h"

#include "support/numeric.h"

#include <limits>

namespace ZoHmiEventLogger {

using ZoHmiSrv::Binary;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;
namespace Algorithm = ZoHmiSrv::Algorithm;

namespace {

std::optional<std::string> text_of(const Value& parameter) {
    if (!parameter.isset()) return std::nullopt;
    if (parameter.type() == ValueType::String) return parameter.get_string();
    Value copy = parameter;
    return copy.convert(ValueType::String).get_string();
}

std::optional<GUID> guid_of(const Value& parameter) {
    if (parameter.type() == ValueType::String) return Algorithm::guid_from_string(parameter.get_string(), true);
    const auto text = text_of(parameter);
    return text ? Algorithm::guid_from_string(*text, true) : std::nullopt;
}

std::optional<double> number_of(const Value& parameter) {
    if (!parameter.isset()) return std::nullopt;
    if (parameter.type() == ValueType::Double) return parameter.get_double();
    Value copy = parameter;
    return copy.convert(ValueType::Double).get_double();
}

// The bytes of a parameter; one that came as text is kept converted.
Binary bytes_of(const Value& parameter, std::optional<Value>& converted) {
    if (parameter.type() != ValueType::String) return parameter;
    converted = parameter;
    return converted->convert(ValueType::Binary);
}

} // namespace

EventReference::EventReference(const Value& parameters, ValueType type, std::int32_t language_id)
    : payload_type(type), language(language_id), event_class(guid_of(parameters["eventClass"])),
      source_name(text_of(parameters["sourceName"])), source_class(guid_of(parameters["sourceGuid"])) {
    if (!source_class) source_class = event_class;
    if (const auto id = number_of(parameters["eventId"])) event_id = Algorithm::uint32_from_double(*id);

    const auto count = number_of(parameters["numArguments"]);
    has_arguments = count.has_value();
    if (!count) return;
    const auto argument_count = Algorithm::saturating_cast<std::int32_t>(*count);
    const Value& types = parameters["types"];
    const Value& data = parameters["data"];
    if (argument_count == 0 || !types.isset() || !data.isset()) return;

    const Binary type_bytes = bytes_of(types, converted_types);
    const Binary data_bytes = bytes_of(data, converted_data);
    if (type_bytes.size() + data_bytes.size() > std::numeric_limits<std::int32_t>::max()) return;
    block.reserve(type_bytes.size() + data_bytes.size());
    block.append(reinterpret_cast<const char*>(type_bytes.data()), type_bytes.size());
    argument_data.assign(reinterpret_cast<const char*>(data_bytes.data()), data_bytes.size());
    block += argument_data;
    const auto types_size = static_cast<std::uint32_t>(type_bytes.size());
    arguments = {static_cast<std::uint32_t>(argument_count), 0, types_size, types_size,
                 static_cast<std::uint32_t>(data_bytes.size())};
}

} // namespace ZoHmiEventLogger
