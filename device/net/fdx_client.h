#pragma once

#include "device/net/net_id.h"
#include "support/export.h"

#include <cstdint>

/// The device client library, `libZoFdxDll.so`. Every access to a device goes through these ten functions. They return
/// device result codes, 0 for success. Times are milliseconds. The caller owns addresses and buffers; a call does not
/// keep them. [any thread]
extern "C" {

/// Opens a client port and returns its number, 0 on failure.
ZO_EXPORT std::int32_t FdxPortOpenEx();
ZO_EXPORT std::int32_t FdxPortCloseEx(std::int32_t port);
/// The local address of the port.
ZO_EXPORT std::int32_t FdxGetLocalAddressEx(std::int32_t port, ZoHmiFdx::NrxAddr* address);
ZO_EXPORT std::int32_t FdxSyncGetTimeoutEx(std::int32_t port, std::int32_t* timeout);
ZO_EXPORT std::int32_t FdxSyncSetTimeoutEx(std::int32_t port, std::int32_t timeout);

/// Reads up to `length` bytes.
ZO_EXPORT std::int32_t FdxSyncReadReqEx2(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t index_group,
                                         std::uint32_t index_offset, std::uint32_t length, void* buffer,
                                         std::uint32_t* bytes_read);
/// Writes `length` bytes; a null buffer with length 0 is a valid call.
ZO_EXPORT std::int32_t FdxSyncWriteReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t index_group,
                                         std::uint32_t index_offset, std::uint32_t length, const void* buffer);
/// Writes, then reads, in one request.
ZO_EXPORT std::int32_t FdxSyncReadWriteReqEx2(std::int32_t port, const ZoHmiFdx::NrxAddr* address,
                                              std::uint32_t index_group, std::uint32_t index_offset,
                                              std::uint32_t read_length, void* read_buffer, std::uint32_t write_length,
                                              const void* write_buffer, std::uint32_t* bytes_read);
/// Reads the state of the device protocol and the state of the device.
ZO_EXPORT std::int32_t FdxSyncReadStateReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address,
                                             std::uint16_t* fdx_state, std::uint16_t* device_state);
/// Reads the name of the device (zero-terminated) and its version.
ZO_EXPORT std::int32_t FdxSyncReadDeviceInfoReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, char* name,
                                                  ZoHmiFdx::FdxVersion* version);
}
