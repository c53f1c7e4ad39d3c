#pragma once

#include "binding/hresult.h"
#include "support/guid.h"

#include <cstdint>

struct DISPPARAMS;
struct EXCEPINFO;
struct ITypeInfo;
struct VARIANT;

/// The base of every object that crosses to the event logger's proxy. The order of the virtual operations is the
/// contract. A virtual destructor would occupy two slots and move every later operation, so these interfaces have none.
/// No exception may leave a call.
struct IUnknown {
    /// Stores a reference to the requested interface in `*out`, or null with E_NOINTERFACE. [any thread]
    virtual HRESULT QueryInterface(const GUID& iid, void** out) = 0; ///< slot 0
    /// Both return the new count, for diagnosis only. [any thread]
    virtual std::uint32_t AddRef() = 0;  ///< slot 1
    virtual std::uint32_t Release() = 0; ///< slot 2

protected:
    ~IUnknown() = default;
};

/// An object whose operations can also be called by number. The defaults refuse every such call.
struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(std::uint32_t* /*count*/) { return E_NOTIMPL; } ///< slot 3
    virtual HRESULT GetTypeInfo(std::uint32_t /*index*/, std::uint32_t /*language*/, ITypeInfo** /*info*/) {
        return E_NOTIMPL; ///< slot 4
    }
    virtual HRESULT GetIDsOfNames(const GUID& /*reserved*/, char** /*names*/, std::uint32_t /*count*/,
                                  std::uint32_t /*language*/, std::int32_t* /*ids*/) {
        return E_NOTIMPL; ///< slot 5
    }
    /// Slot 6. The block contains the arguments in reverse order. [any thread]
    virtual HRESULT Invoke(std::int32_t /*id*/, const GUID& /*reserved*/, std::uint32_t /*language*/,
                           std::uint16_t /*flags*/, DISPPARAMS* /*arguments*/, VARIANT* /*result*/,
                           EXCEPINFO* /*exception*/, std::uint32_t* /*bad_argument*/) {
        return E_NOTIMPL;
    }

protected:
    ~IDispatch() = default;
};
