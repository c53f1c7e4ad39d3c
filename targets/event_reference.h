#pragma once

#include "binding/event_objects.h"
#include "extension/host/value.h"
#include "support/guid.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ZoHmiEventLogger {

/// What localization reads of an event, in one go. The event may have been through a client's hands, so parameters of
/// another type are converted, on copies: the event itself is not changed. What is Null, missing or, for a GUID, cannot
/// be read is not there.
struct EventReference {
    EventReference(const ZoHmiSrv::Value& parameters, ZoHmiSrv::ValueType type, std::int32_t language_id);

    ZoHmiSrv::ValueType payload_type;
    std::int32_t language; // a locale id
    std::optional<GUID> event_class;
    std::optional<std::uint32_t> event_id;
    std::optional<std::string> source_name;
    std::optional<GUID> source_class; // the source's GUID, else the event's class

    // The argument block as the logger takes it back: the types, and right behind them the values.
    bool has_arguments = false; // whether the number of arguments is told at all
    ZoEventLoggerFdxProxyLib::ArgumentDescriptor arguments{};
    std::string block;
    std::string argument_data; // the values alone, which tell one text from another

    // "types" and "data" where they came as texts.
    std::optional<ZoHmiSrv::Value> converted_types;
    std::optional<ZoHmiSrv::Value> converted_data;
};

} // namespace ZoHmiEventLogger
