#pragma once

#include "extension/host/value_type.h"
#include "support/guid.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace ZoHmiEventLogger {

/// Mixes the hashes of a key's parts.
class KeyHash {
public:
    KeyHash& add(std::uint64_t part) {
        // The multiplier of FNV-1a for 64 bits, and a shift that brings the high bits down.
        state_ = (state_ ^ part) * 0x100000001B3u;
        state_ ^= state_ >> 29;
        return *this;
    }
    KeyHash& add(const GUID& guid) {
        struct Halves {
            std::uint64_t low, high;
        };
        const auto halves = std::bit_cast<Halves>(guid);
        return add(halves.low).add(halves.high);
    }
    KeyHash& add(std::string_view text) { return add(std::hash<std::string_view>()(text)); }
    std::size_t value() const { return state_; }

private:
    std::uint64_t state_ = 0xCBF29CE484222325u;
};

// Keys of answers; the language is a locale id. Keys with a text have two forms: a cache key owns the text, a question
// key refers to the event's text.

struct ClassNameKey {
    GUID event_class;
    std::int32_t language;

    bool operator==(const ClassNameKey&) const = default;
    std::size_t hash() const { return KeyHash().add(event_class).add(static_cast<std::uint32_t>(language)).value(); }
};

template <class Text>
struct SourceNameKeyWith {
    GUID event_class;
    Text source_name;
    std::int32_t language;

    template <class Other>
    bool operator==(const SourceNameKeyWith<Other>& other) const {
        return event_class == other.event_class && source_name == other.source_name && language == other.language;
    }
    explicit operator SourceNameKeyWith<std::string>() const {
        return {event_class, std::string(source_name), language};
    }
    std::size_t hash() const {
        return KeyHash().add(event_class).add(source_name).add(static_cast<std::uint32_t>(language)).value();
    }
};

using SourceNameKey = SourceNameKeyWith<std::string>;
using SourceNameQuestion = SourceNameKeyWith<std::string_view>;

/// For causes, remedies and details. The arguments do not change these.
struct EventKindKey {
    GUID event_class;
    std::uint32_t event_id;
    std::int32_t language;

    bool operator==(const EventKindKey&) const = default;
    std::size_t hash() const {
        return KeyHash().add(event_class).add(event_id).add(static_cast<std::uint32_t>(language)).value();
    }
};

template <class Text>
struct TextKeyWith {
    std::uint32_t event_id;
    Text argument_data;
    GUID event_class;
    ZoHmiSrv::ValueType payload_type;
    std::int32_t language;

    template <class Other>
    bool operator==(const TextKeyWith<Other>& other) const {
        return event_id == other.event_id && argument_data == other.argument_data && event_class == other.event_class &&
               payload_type == other.payload_type && language == other.language;
    }
    explicit operator TextKeyWith<std::string>() const {
        return {event_id, std::string(argument_data), event_class, payload_type, language};
    }
    std::size_t hash() const {
        return KeyHash()
            .add(event_class)
            .add(event_id)
            .add(argument_data)
            .add(static_cast<std::uint64_t>(payload_type))
            .add(static_cast<std::uint32_t>(language))
            .value();
    }
};

using TextKey = TextKeyWith<std::string>;
using TextQuestion = TextKeyWith<std::string_view>;

} // namespace ZoHmiEventLogger
