#pragma once

#include "binding/identifiers.h"
#include "binding/unknown.h"

#include <cstddef>
#include <type_traits>
#include <utility>

namespace ZoAtlCom {

/// Owns one reference to an object. The pointer itself is no more thread-safe than a raw pointer.
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
    // The parameter is a value: the old reference is released last, so its object may own the new one.
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

    /// Releases the reference.
    void release() {
        if (T* object = std::exchange(object_, nullptr)) object->Release();
    }
    /// Takes over a reference of the caller.
    void attach(T* object) {
        release();
        object_ = object;
    }
    /// Returns the reference, which the caller then owns.
    [[nodiscard]] T* detach() { return std::exchange(object_, nullptr); }
    /// Releases the reference and returns the place for an out argument.
    [[nodiscard]] T** put() {
        release();
        return &object_;
    }
    [[nodiscard]] void** put_void() { return reinterpret_cast<void**>(put()); }

private:
    T* object_ = nullptr;
};

/// Does not compare with null: under gcc's sanitizer that comparison is no constant expression.
template <const GUID* iid>
inline constexpr bool is_identifier = true;
template <>
inline constexpr bool is_identifier<nullptr> = false;

/// An assignment of an object of another type queries the interface. The pointer is null if the object does not have
/// it.
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

    /// Queries the object and stores the interface, or null. Returns the object's result; E_POINTER for null.
    HRESULT query(IUnknown* object) {
        CComPtr<T> found;
        const HRESULT code = object ? object->QueryInterface(*iid, found.put_void()) : E_POINTER;
        if (failed(code)) found = CComPtr<T>();
        static_cast<CComPtr<T>&>(*this) = std::move(found);
        return code;
    }
};

} // namespace ZoAtlCom
