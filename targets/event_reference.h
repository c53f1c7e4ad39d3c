#pragma once

#include "binding/event_objects.h"
#include "extension/host/binary.h"
#include "extension/host/value.h"
#include "targets/localization_keys.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ZoHmiEventLogger {

/// What localization reads of an event, in one go: the key of each question, where the event holds it. The event may
/// have been through a client's hands, so parameters of another type are converted, on copies: the event itself is not
/// changed. What is Null, missing or, for a GUID, cannot be read is not there.
///
/// It looks into the parameters, which must stay as they are until it is done with.
struct EventReference {
    /// `language` is a locale id.
    EventReference(const ZoHmiSrv::Value& parameters, ZoHmiSrv::ValueType type, std::int32_t language);
    EventReference(const EventReference&) = delete;
    EventReference& operator=(const EventReference&) = delete;

    std::optional<TextQuestion> text;
    std::optional<ClassNameKey> class_name;
    std::optional<SourceNameQuestion> source_name; // by the source's GUID, else by the event's class
    std::optional<EventKindKey> kind;

    // The argument block as the logger takes it back: the types, and right behind them the values.
    ZoEventLoggerFdxProxyLib::ArgumentDescriptor arguments{};
    std::string argument_block() const;

    // "types" and "data" where they came as texts.
    std::optional<ZoHmiSrv::Value> converted_types;
    std::optional<ZoHmiSrv::Value> converted_data;

private:
    void read_arguments(const ZoHmiSrv::Value& parameters, std::int32_t count);

    ZoHmiSrv::Value converted_source_;
    ZoHmiSrv::Binary types_;
    ZoHmiSrv::Binary data_;
};

} // namespace ZoHmiEventLogger
