#pragma once

#include "binding/counted_string.h"
#include "binding/variant.h"

#include <atomic>
#include <cstdint>
#include <string_view>

namespace fakes {

// Number of fake objects that someone still holds; 0 at the end of a test that lost no reference.
inline std::atomic<int>& live_objects() {
    static std::atomic<int> count = 0;
    return count;
}

// A counted string for an out argument.
inline HRESULT hand_out(std::string_view text, char** out) {
    *out = ZoAtlCom::SysAllocStringLen(text.data(), static_cast<std::uint32_t>(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

// An interface with its calls by number refused.
template <class Interface>
class Dispatch : public Interface {
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
    ~Dispatch() = default;
};

// A counted object with several interfaces; starts without a reference, so make it into a CComPtr. [any thread]
template <class... Interfaces>
class ComObject : public Interfaces... {
public:
    ComObject() { ++live_objects(); }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT QueryInterface(const GUID& iid, void** out) override {
        if (!out) return E_POINTER;
        *out = find(iid);
        if (!*out) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    std::uint32_t AddRef() override { return ++references_; }
    std::uint32_t Release() override {
        const std::uint32_t left = --references_;
        if (left == 0) delete this;
        return left;
    }
    [[nodiscard]] std::uint32_t references() const { return references_; }

protected:
    virtual ~ComObject() { --live_objects(); }
    // The pointer to the asked interface, null when the object does not have it (now).
    virtual void* find(const GUID& iid) = 0;

private:
    std::atomic<std::uint32_t> references_ = 0;
};

} // namespace fakes
