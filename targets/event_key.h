#pragma once

#include "binding/event_objects.h"
#include "support/guid.h"

#include <algorithm>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ZoHmiEventLogger {

/// The logger's own number of an occurrence, if the object offers one. Throws CAtlException when a call fails.
std::optional<std::uint32_t> unique_id_of(IUnknown& object);

/// Identifies one occurrence in both views of the logger: as a live object and as an entry of the log.
///
/// Two keys with ids compare by ids, all others by texts. So equality is not transitive.
class EventKey {
public:
    /// The parts of a key's text. Keys have equal texts exactly when these are equal.
    struct Occurrence {
        std::int64_t raised = 0; // nanoseconds since 1970
        GUID event_class{};
        std::uint32_t event_id = 0;
        bool exists = false; // false for the key of nothing

        friend auto operator<=>(const Occurrence&, const Occurrence&) = default;
    };

    /// The key of nothing: no id, no text.
    EventKey() = default;
    /// `raised` is in nanoseconds since 1970.
    EventKey(std::optional<std::uint32_t> id, std::int64_t raised, const GUID& event_class, std::uint32_t event_id)
        : id_(id), occurrence_{raised, event_class, event_id, true} {}

    /// Asks an alarm or message. Throws CAtlException when a call fails.
    template <class T>
    static EventKey of(T& event);

    const std::optional<std::uint32_t>& id() const { return id_; }
    const Occurrence& occurrence() const { return occurrence_; }
    /// Time, class in braces, and event id, with nothing between them.
    std::string text() const;

    friend bool operator==(const EventKey& a, const EventKey& b) {
        return a.id_ && b.id_ ? *a.id_ == *b.id_ : a.occurrence_ == b.occurrence_;
    }

private:
    std::optional<std::uint32_t> id_;
    Occurrence occurrence_;
};

/// Checks in logarithmic time whether an equal key was added. Equality is not transitive, so the texts of keys with and
/// without an id are kept apart. Not thread-safe: a look-up may sort.
class EventKeySet {
public:
    void reserve(std::size_t keys);
    void add(const EventKey& key);
    bool contains(const EventKey& key) const;

private:
    // Logs are nearly sorted, and most sets are never searched: the first search sorts.
    template <class T>
    class LazySet {
    public:
        void reserve(std::size_t count) { items_.reserve(count); }
        void add(const T& item) {
            sorted_ = sorted_ && (items_.empty() || !(item < items_.back()));
            items_.push_back(item);
        }
        bool contains(const T& item) const {
            if (!sorted_) std::sort(items_.begin(), items_.end());
            sorted_ = true;
            return std::binary_search(items_.begin(), items_.end(), item);
        }

    private:
        mutable std::vector<T> items_;
        mutable bool sorted_ = true;
    };

    LazySet<std::uint32_t> ids_;
    LazySet<EventKey::Occurrence> with_id_;
    LazySet<EventKey::Occurrence> without_id_;
};

/// Identifies a live alarm, also after a reconnect.
struct AlarmKey {
    std::optional<std::uint32_t> id;
    std::int64_t raised = 0; // nanoseconds since 1970

    /// Asks the alarm. Throws CAtlException when a call fails.
    static AlarmKey of(ZoEventLoggerFdxProxyLib::IZoAlarm& alarm);

    friend bool operator==(const AlarmKey&, const AlarmKey&) = default;
    /// A key without id comes before one with an id. Throws std::bad_optional_access for two keys without id: nothing
    /// distinguishes them reliably.
    friend bool operator<(const AlarmKey& a, const AlarmKey& b);
};

} // namespace ZoHmiEventLogger
