#pragma once

#include "binding/event_objects.h"
#include "extension/host/binary.h"
#include "extension/host/value.h"
#include "targets/localization_keys.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ZoHmiEventLogger {

/// The keys of an event's localization. A key is empty if one of its parameters is missing, Null, or an invalid GUID. A
/// client may have changed the event, so parameters of another type are converted. Conversions use copies: the event is
/// unchanged.
///
/// Requires that the parameters outlive the reference unchanged.
struct EventReference {
    /// `language` is a locale id.
    EventReference(const ZoHmiSrv::Value& parameters, ZoHmiSrv::ValueType type, std::int32_t language);
    EventReference(const EventReference&) = delete;
    EventReference& operator=(const EventReference&) = delete;

    std::optional<TextQuestion> text;
    std::optional<ClassNameKey> class_name;
    std::optional<SourceNameQuestion> source_name; ///< by the GUID of the source, else by the event's class
    std::optional<EventKindKey> kind;

    /// The argument block in the form of the logger: the types, followed by the values.
    ZoEventLoggerFdxProxyLib::ArgumentDescriptor arguments{};
    std::string argument_block() const;

    /// "types" and "data" of an event that has them as texts.
    std::optional<ZoHmiSrv::Value> converted_types;
    std::optional<ZoHmiSrv::Value> converted_data;

private:
    void read_arguments(const ZoHmiSrv::Value& parameters, std::int32_t count);

    ZoHmiSrv::Value converted_source_;
    ZoHmiSrv::Binary types_;
    ZoHmiSrv::Binary data_;
};

} // namespace ZoHmiEventLogger
