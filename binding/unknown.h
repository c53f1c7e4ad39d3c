#pragma once

#include "binding/hresult.h"
#include "support/guid.h"

#include <cstdint>

struct DISPPARAMS;
struct EXCEPINFO;
struct ITypeInfo;
struct VARIANT;

// The base of every object that crosses to the event logger's proxy. The order of the virtual operations is the
// contract; a virtual destructor would take two slots and move every operation after it, so none of these interfaces
// has one. Nothing thrown may cross a call.
struct IUnknown {
    // Hands out a reference to the asked interface, or null and E_NOINTERFACE. [any thread]
    virtual HRESULT QueryInterface(const GUID& iid, void** out) = 0; // slot 0
    // Both return the new count, for diagnosis only. [any thread]
    virtual std::uint32_t AddRef() = 0;  // slot 1
    virtual std::uint32_t Release() = 0; // slot 2

protected:
    ~IUnknown() = default;
};

// An object whose operations can also be called by number.
struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(std::uint32_t* count) = 0;                                     // slot 3
    virtual HRESULT GetTypeInfo(std::uint32_t index, std::uint32_t language, ITypeInfo** info) = 0; // slot 4
    virtual HRESULT GetIDsOfNames(const GUID& reserved, char** names, std::uint32_t count, std::uint32_t language,
                                  std::int32_t* ids) = 0; // slot 5
    // The arguments stand in reverse order in the block. [any thread]
    virtual HRESULT Invoke(std::int32_t id, const GUID& reserved, std::uint32_t language, std::uint16_t flags,
                           DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                           std::uint32_t* bad_argument) = 0; // slot 6

protected:
    ~IDispatch() = default;
};
