#pragma once

#include "binding/counted_string.h"
#include "binding/variant.h"
#include "platform/logger_proxy/com_object.h"

#include <atomic>
#include <cstdint>
#include <string_view>

namespace fakes {

using zo_logger_proxy::answers_to;

/// Number of fake objects that still have references; 0 at the end of a test that lost none.
inline std::atomic<int>& live_objects() {
    static std::atomic<int> count = 0;
    return count;
}

/// A counted string for an out argument.
inline HRESULT hand_out(std::string_view text, char** out) {
    *out = ZoAtlCom::SysAllocStringLen(text.data(), static_cast<std::uint32_t>(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

/// Starts with zero references; assign it to a CComPtr at once. [any thread]
template <class... Interfaces>
class ComObject : public zo_logger_proxy::CountedObject<ComObject<Interfaces...>, Interfaces...> {
public:
    ComObject() : ComObject::CountedObject(0) { ++live_objects(); }
    [[nodiscard]] std::uint32_t references() {
        this->AddRef();
        return this->Release();
    }

protected:
    virtual ~ComObject() { --live_objects(); }

private:
    friend zo_logger_proxy::CountedObject<ComObject, Interfaces...>;
    virtual void* find_interface(const GUID& iid) = 0; ///< null when the object does not have it (now)
};

} // namespace fakes
