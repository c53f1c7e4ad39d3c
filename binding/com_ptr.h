#pragma once

#include "binding/identifiers.h"
#include "binding/unknown.h"

#include <cstddef>
#include <type_traits>
#include <utility>

namespace ZoAtlCom {

// Holds one reference to an object. The pointer itself is no more thread-safe than a raw one.
template <class T>
class CComPtr {
public:
    CComPtr() = default;
    CComPtr(std::nullptr_t) {}
    CComPtr(T* object) : object_(object) {
        if (object_) object_->AddRef();
    }
    CComPtr(const CComPtr& other) : CComPtr(other.object_) {}
    CComPtr(CComPtr&& other) noexcept : object_(other.detach()) {}
    // By value: the old reference goes last, so that assigning what hangs on it is safe.
    CComPtr& operator=(CComPtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~CComPtr() { release(); }

    [[nodiscard]] T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }
    friend bool operator==(const CComPtr& a, const CComPtr& b) { return a.object_ == b.object_; }
    friend bool operator==(const CComPtr& a, const T* b) { return a.object_ == b; }

    // Lets go of the reference.
    void release() {
        if (T* object = std::exchange(object_, nullptr)) object->Release();
    }
    // Takes over a reference that the caller holds.
    void attach(T* object) {
        release();
        object_ = object;
    }
    // Hands the reference to the caller.
    [[nodiscard]] T* detach() { return std::exchange(object_, nullptr); }
    // Lets go of the reference, for an out argument.
    [[nodiscard]] T** put() {
        release();
        return &object_;
    }
    [[nodiscard]] void** put_void() { return reinterpret_cast<void**>(put()); }

private:
    T* object_ = nullptr;
};

// Told by specialization: gcc's sanitizer makes the comparison of the address no constant.
template <const GUID* iid>
inline constexpr bool is_identifier = true;
template <>
inline constexpr bool is_identifier<nullptr> = false;

// A pointer that asks for its interface when an object of another kind is assigned; null when the object lacks it.
template <class T, const GUID* iid = ZoEventLoggerFdxProxyLib::iid_of<T>>
class CComQIPtr : public CComPtr<T> {
    static_assert(is_identifier<iid>, "this interface cannot be queried");

public:
    using CComPtr<T>::CComPtr;
    CComQIPtr() = default;
    CComQIPtr(const CComPtr<T>& object) : CComPtr<T>(object) {}
    CComQIPtr(CComPtr<T>&& object) : CComPtr<T>(std::move(object)) {}
    CComQIPtr(IUnknown* object) requires(!std::is_same_v<T, IUnknown>) { query(object); }
    template <class U>
    requires(!std::is_same_v<T, U>) CComQIPtr(const CComPtr<U>& object) { query(object.get()); }

    // Replaces what is held by the object's interface; the answer of the object, or E_POINTER for null.
    HRESULT query(IUnknown* object) {
        CComPtr<T> found;
        const HRESULT code = object ? object->QueryInterface(*iid, found.put_void()) : E_POINTER;
        if (failed(code)) found = CComPtr<T>();
        static_cast<CComPtr<T>&>(*this) = std::move(found);
        return code;
    }
};

} // namespace ZoAtlCom
