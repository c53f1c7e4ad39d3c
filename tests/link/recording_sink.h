#pragma once

#include "binding/com_ptr.h"
#include "binding/event_logger_proxy.h"
#include "tests/fakes/com_object.h"
#include "tests/support/gate.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace zo_test {

// One call of a sink, taken apart.
struct Call {
    std::int32_t id = 0;
    std::uint32_t event_id = 0;
    std::int16_t removed = 0;
    std::int32_t reason = 0;
    std::thread::id thread;
};

// A sink that keeps what it is told; it counts no references, as the product's does not.
class RecordingSink : public fakes::Dispatch<ZoEventLoggerFdxProxyLib::_IZoEventLoggerEvents> {
public:
    virtual ~RecordingSink() = default;

    // Runs inside each call, before it is counted; gets the object argument.
    std::function<void(std::int32_t id, IDispatch* object)> inside;

    HRESULT QueryInterface(const GUID& iid, void** out) override {
        *out = iid == ZoEventLoggerFdxProxyLib::IID__IZoEventLoggerEvents ? this : nullptr;
        return *out != nullptr ? S_OK : E_NOINTERFACE;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
    HRESULT Invoke(std::int32_t id, const GUID&, std::uint32_t, std::uint16_t, DISPPARAMS* arguments, VARIANT*,
                   EXCEPINFO*, std::uint32_t*) override {
        Call call;
        call.id = id;
        call.thread = std::this_thread::get_id();
        IDispatch* object = nullptr;
        for (std::uint32_t i = 0; i < arguments->cArgs; ++i) {
            const VARIANT& value = arguments->rgvarg[i];
            if (value.vt == VT_DISPATCH) object = value.pdispVal;
            if (value.vt == VT_BOOL) call.removed = value.boolVal;
            if (value.vt == VT_I4) call.reason = value.lVal;
        }
        if (object != nullptr) static_cast<ZoEventLoggerFdxProxyLib::IZoEvent*>(object)->GetEventId(&call.event_id);
        if (inside) inside(id, object);
        const std::lock_guard lock(mutex_);
        calls_.push_back(call);
        return S_OK;
    }

    std::vector<Call> calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }
    std::size_t count() const { return calls().size(); }

private:
    mutable std::mutex mutex_;
    std::vector<Call> calls_;
};

} // namespace zo_test
