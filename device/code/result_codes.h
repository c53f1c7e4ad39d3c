#pragma once

#include "support/export.h"
#include "support/extension_result.h"

#include <cstdint>
#include <string>

namespace ZoHmiSrv {
class Command;
}

/// Result codes of device operations: signed 32-bit numbers, also handled as their bit pattern. 0 is success.
///
///     0x1      to 0x1F      global errors of the router      ERR_
///     0x500    to 0x50E     errors of the router             ROUTERERR_
///     0x700    to 0x739     errors of a device               FDXERR_DEVICE_
///     0x740    to 0x755     errors of the device client      FDXERR_CLIENT_
///     0x100010 to 0x10004C  errors of this library           HMI_FDX_E_
///     0x9811xxxx            one of the others as an HRESULT, the code in the low 16 bits
///
/// Bit 20 (0x100000) marks the codes of this library. In the HRESULT form this bit is also set, by chance. No function
/// fails. [any thread]
namespace ZoHmiFdx {

enum HMI_FDX_CONSTANTS : std::int32_t {
    HMI_FDX_SUCCESS = 0,
    HMI_FDX_E_ZODIR = 0x100010,
    HMI_FDX_E_ZOVERSION = 0x100011,
    HMI_FDX_E_CONFIGDIR = 0x100012,
    HMI_FDX_E_STATE = 0x100013,
    HMI_FDX_E_SYNC_TIMEOUT = 0x100015,
    HMI_FDX_E_PARSE_BASETYPES = 0x100020,
    HMI_FDX_E_PARSE_DATA = 0x100021,
    HMI_FDX_E_NOT_IMPLEMENTED = 0x100022,
    HMI_FDX_E_INVALID_DATA = 0x100030,
    HMI_FDX_E_UPLOAD_DATA = 0x100031,
    HMI_FDX_E_UNEXPECTED = 0x100032,
    HMI_FDX_E_INVALID_RUNTIME = 0x100033,
    HMI_FDX_E_INVALID_PARAMETER = 0x100034,
    HMI_FDX_E_NO_OFFLINE_DATA = 0x100035,
    HMI_FDX_E_INVALID_SYMBOL = 0x100036,
    HMI_FDX_E_MISSING_PARAMETER = 0x100037,
    HMI_FDX_E_ADD_ROUTE = 0x100038,
    HMI_FDX_E_EMPTY = 0x100039,
    HMI_FDX_E_DISABLED = 0x10003A,
    HMI_FDX_E_LICENSE = 0x10003B,
    HMI_FDX_E_INVALID_SYMBOL_TYPE = 0x10003C,
    HMI_FDX_E_INVALID_SYMBOL_HANDLE = 0x10003D,
    HMI_FDX_E_ABORTED = 0x10003E,
    HMI_FDX_E_SYMBOL_HIDDEN = 0x10003F,
    HMI_FDX_E_READONLY = 0x100040,
    HMI_FDX_E_INVALID_MATRIX_ACCESS = 0x100042,
    HMI_FDX_E_MISSING_SYMBOL_TYPE = 0x100043,
    HMI_FDX_E_RUNTIME_NOT_INITIALIZED = 0x100044,
    HMI_FDX_E_STRING_LENGTH_MISMATCH = 0x100045,
    HMI_FDX_E_UNION_FIELDS_NOT_BINARY_COMPATIBLE = 0x100046,
    HMI_FDX_E_PENDING_ONLINE_CHANGE = 0x100047,
    HMI_FDX_E_RETURN_VALUE_SUBSYMBOL = 0x100048,
    HMI_FDX_E_OUT_OF_RANGE = 0x100049,
    HMI_FDX_E_INCOMPLETE_WRITE_NOT_ALLOWED = 0x10004A,
    HMI_FDX_E_RESULT_NOT_PROCESSED = 0x10004B,
    HMI_FDX_E_REQUEST_TOO_LARGE = 0x10004C,
};

/// Codes of the router, a device and the device client that this library passes on as results of the extension.
enum AdditionalExtensionResultCodes : std::int32_t {
    FDX_TARGET_PORT_NOT_FOUND = 0x6,
    FDX_TARGET_MACHINE_NOT_FOUND = 0x7,
    FDX_PORT_DISABLED = 0x12,
    FDX_HOST_UNREACHABLE = 0x1B,
    FDX_SERVICE_NOT_SUPPORTED = 0x701,
    FDX_INVALID_INDEX_GROUP = 0x702,
    FDX_SYMBOL_NOT_FOUND = 0x710,
    FDX_SYNC_TIMEOUT = 0x745,
    FDX_PORT_NOT_OPEN = 0x748,
};

/// The two results of one path operation. An error in either is an error of the operation.
struct PathErrors {
    ZoHmiSrv::ExtensionResult first;
    ZoHmiSrv::ExtensionResult second;
};

/// The name of a router, device or client code, "FDX_API_UNKNOWN_RETURN_CODE" for any other number, 0 included. The
/// text is static.
[[nodiscard]] ZO_EXPORT const char* native_fdx_error_to_string(int code);

/// The name of any code, in either form: 0x701 and 0x98110701 are both "FDXERR_DEVICE_SRVNOTSUPP". The text is static.
[[nodiscard]] ZO_EXPORT const char* fdx_error_to_string(int code);

/// The name and the number: "ERR_TARGETPORTNOTFOUND (0x06)".
[[nodiscard]] ZO_EXPORT std::string fdx_error_to_string_with_code(int code);

/// Returns the code, or its low 16 bits, which are the plain form of an HRESULT. A failure with a low half of zero then
/// becomes a success.
[[nodiscard]] ZO_EXPORT int translate_fdx_error_code(int code, bool remove_high_word);

[[nodiscard]] ZO_EXPORT bool is_error(int code);
[[nodiscard]] ZO_EXPORT bool is_error(const ZoHmiSrv::ExtensionResult& result);
[[nodiscard]] ZO_EXPORT bool is_error(const PathErrors& errors);

/// True if the device does not know the service or the index group (0x701, 0x702), with any high half.
[[nodiscard]] ZO_EXPORT bool is_not_supported(int code);
[[nodiscard]] ZO_EXPORT bool is_not_supported(const ZoHmiSrv::ExtensionResult& result);

/// Sets the result of a command that has not failed: the first failure stays. A failure without a text leaves the text
/// of the command unchanged; a success replaces it.
ZO_EXPORT void set_result_or_ignore(ZoHmiSrv::Command& command, const ZoHmiSrv::ExtensionResult& result);

} // namespace ZoHmiFdx
