#pragma once

#include "binding/com_ptr.h"
#include "targets/event_key.h"

#include <utility>

namespace ZoHmiEventLogger {

/// A reference to an alarm or message of the proxy together with the key that it had when this was made.
template <class T>
class ScopedEventPointer {
public:
    /// Holds nothing.
    ScopedEventPointer() = default;
    /// Takes a reference and works out the key at once, which asks the proxy and throws CAtlException when that fails.
    /// Null holds nothing.
    explicit ScopedEventPointer(T* event) : event_(event) {
        if (event) key_ = EventKey::of(*event);
    }

    T* get() const { return event_.get(); }
    const EventKey& key() const { return key_; }
    explicit operator bool() const { return static_cast<bool>(event_); }

    void reset() { *this = ScopedEventPointer(); }

private:
    ZoAtlCom::CComPtr<T> event_;
    EventKey key_;
};

} // namespace ZoHmiEventLogger
