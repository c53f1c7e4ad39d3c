#include "tests/fakes/com_object.h"

#include "binding/counted_string.h"

namespace fakes {

std::atomic<int>& live_objects() {
    static std::atomic<int> count = 0;
    return count;
}

HRESULT hand_out(std::string_view text, char** out) {
    *out = ZoAtlCom::SysAllocStringLen(text.data(), static_cast<std::uint32_t>(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

} // namespace fakes
