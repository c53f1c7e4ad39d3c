#pragma once

#include "binding/unknown.h"

#include <atomic>
#include <cstdint>
#include <string>

/// The writer's view of an error information object. A null text counts as empty. [any thread]
struct ICreateErrorInfo : IUnknown {
    virtual HRESULT SetGUID(const GUID& guid) = 0;               ///< slot 3
    virtual HRESULT SetSource(const char* source) = 0;           ///< slot 4
    virtual HRESULT SetDescription(const char* description) = 0; ///< slot 5
    virtual HRESULT SetHelpFile(const char* help_file) = 0;      ///< slot 6
    virtual HRESULT SetHelpContext(std::uint32_t context) = 0;   ///< slot 7

protected:
    ~ICreateErrorInfo() = default;
};

/// The reader's view. Out strings are counted strings that the caller frees; null for an empty text. [any thread]
struct IErrorInfo : IUnknown {
    virtual HRESULT GetGUID(GUID* out) = 0;                 ///< slot 3
    virtual HRESULT GetSource(char** out) = 0;              ///< slot 4
    virtual HRESULT GetDescription(char** out) = 0;         ///< slot 5
    virtual HRESULT GetHelpFile(char** out) = 0;            ///< slot 6
    virtual HRESULT GetHelpContext(std::uint32_t* out) = 0; ///< slot 7

protected:
    ~IErrorInfo() = default;
};

namespace ZoAtlCom::detail {

/// Error information with both views, made with one reference. The position of the destructor matters: its two slots
/// lie between the operations of the writer and those of the reader. The count is atomic; the fields are not guarded.
class ZoErrorInfo : public ICreateErrorInfo, public IErrorInfo {
public:
    HRESULT QueryInterface(const GUID& iid, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    HRESULT SetGUID(const GUID& guid) override;
    HRESULT SetSource(const char* source) override;
    HRESULT SetDescription(const char* description) override;
    HRESULT SetHelpFile(const char* help_file) override;
    HRESULT SetHelpContext(std::uint32_t context) override;
    virtual ~ZoErrorInfo() = default;
    HRESULT GetGUID(GUID* out) override;
    HRESULT GetSource(char** out) override;
    HRESULT GetDescription(char** out) override;
    HRESULT GetHelpFile(char** out) override;
    HRESULT GetHelpContext(std::uint32_t* out) override;

private:
    std::atomic<std::uint32_t> references_ = 1;
    GUID guid_{};
    std::string source_;
    std::string description_;
    std::string help_file_;
    std::uint32_t help_context_ = 0;
};

} // namespace ZoAtlCom::detail
