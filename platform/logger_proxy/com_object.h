#pragma once

#include "binding/unknown.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <new>

namespace zo_logger_proxy {

// Runs a call's body so that nothing thrown crosses the interface. [any thread]
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

// A reference-counted object, made with one reference. `Derived` has
//     void* find_interface(const GUID& iid);  the pointer to hand out, or null
// and may hide `destroy`.
template <class Derived, class... Interfaces>
class CountedObject : public Interfaces... {
public:
    CountedObject() = default;
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

    // Takes a reference unless the last one is gone already. [any thread]
    bool try_add_ref() {
        std::uint32_t count = count_.load(std::memory_order_relaxed);
        while (count != 0)
            if (count_.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel)) return true;
        return false;
    }

protected:
    ~CountedObject() = default;
    void destroy() { delete &self(); }

private:
    Derived& self() { return static_cast<Derived&>(*this); }

    std::atomic<std::uint32_t> count_{1};
};

// The same for interfaces of which at least one derives from IDispatch; nothing can be called by number.
template <class Derived, class... Interfaces>
class DispatchObject : public CountedObject<Derived, Interfaces...> {
public:
    HRESULT GetTypeInfoCount(std::uint32_t*) override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(std::uint32_t, std::uint32_t, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(const GUID&, char**, std::uint32_t, std::uint32_t, std::int32_t*) override {
        return E_NOTIMPL;
    }
    HRESULT Invoke(std::int32_t, const GUID&, std::uint32_t, std::uint16_t, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                   std::uint32_t*) override {
        return E_NOTIMPL;
    }

protected:
    ~DispatchObject() = default;
};

} // namespace zo_logger_proxy
