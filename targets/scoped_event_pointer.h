#pragma once

#include "binding/com_ptr.h"
#include "targets/event_key.h"

#include <utility>

namespace ZoHmiEventLogger {

/// A reference to an alarm or message of the proxy, with the key that it had at construction.
template <class T>
class ScopedEventPointer {
public:
    /// No object.
    ScopedEventPointer() = default;
    /// Takes a reference and asks the proxy for the key. Throws CAtlException when that fails. Null means no object.
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
