#pragma once

#include "binding/com_ptr.h"
#include "binding/identifiers.h"
#include "binding/unknown.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <new>

namespace zo_logger_proxy {

/// Runs the body of a call and turns exceptions into result codes: none may cross the interface. [any thread]
template <class Body>
HRESULT guarded(Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

/// Returns true for the identifier of an interface that can be called by number, and for those of its bases.
/// [any thread]
template <class Interface>
bool answers_to(const GUID& iid) {
    using namespace ZoEventLoggerFdxProxyLib;
    if constexpr (ZoAtlCom::is_identifier<iid_of<Interface>>)
        if (iid == *iid_of<Interface>) return true;
    return iid == IID_IUnknown || iid == IID_IDispatch;
}

/// A reference-counted object. `Derived` has
///     void* find_interface(const GUID& iid);  returns the interface pointer, or null
/// and may hide `destroy`.
template <class Derived, class... Interfaces>
class CountedObject : public Interfaces... {
public:
    CountedObject(const CountedObject&) = delete;
    CountedObject& operator=(const CountedObject&) = delete;

    HRESULT QueryInterface(const GUID& iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        *out = self().find_interface(iid);
        if (*out == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    std::uint32_t AddRef() override { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }
    std::uint32_t Release() override {
        const std::uint32_t left = count_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) self().destroy();
        return left;
    }

    /// Adds a reference and returns true. Returns false if the last reference was already released. [any thread]
    bool try_add_ref() {
        std::uint32_t count = count_.load(std::memory_order_relaxed);
        while (count != 0)
            if (count_.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel)) return true;
        return false;
    }

protected:
    /// The first references belong to the code that made the object.
    explicit CountedObject(std::uint32_t references = 1) : count_(references) {}
    ~CountedObject() = default;
    void destroy() { delete &self(); }

private:
    Derived& self() { return static_cast<Derived&>(*this); }

    std::atomic<std::uint32_t> count_;
};

} // namespace zo_logger_proxy
