#include "device/request/request_proxy.h"

#include "device/code/result_codes.h"
#include "device/net/fdx_client.h"
#include "device/request/detail/read_buffer.h"
#include "device/request/index_groups.h"
#include "device/request/runtime_config_base_cache.h"
#include "device/request/symbol_info.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ZoHmiFdx {

namespace {

constexpr int invalid_size = 0x705;
constexpr std::uint32_t info_by_name_size = 255;
constexpr std::uint32_t group_product_version = 0xA0;
constexpr std::uint32_t group_system_id = 0x01010004;
constexpr std::uint32_t offset_system_id = 1;
constexpr std::size_t device_name_size = 256; // more than any name; the client call takes no size

RequestProxy::View view_of(const ZoHmiSrv::Binary& bytes) {
    return {bytes.data(), bytes.size()};
}

/// Returns the characters of a name. The terminator follows the view, because some clients look for one.
RequestProxy::View view_of(const std::string& name) {
    return {reinterpret_cast<const unsigned char*>(name.c_str()), name.size()};
}

} // namespace

RequestProxy::RequestProxy(unsigned long port, NrxAddr address, const RequestLimits& limits, bool require_write_mask,
                           std::shared_ptr<RuntimeConfigBaseCache> cache)
    : port_(static_cast<int>(port)), address_(make_net_id_absolute(address)), limits_(limits), cache_(std::move(cache)),
      require_write_mask_(require_write_mask) {
}

int RequestProxy::translate(int code) const {
    return translate_fdx_error_code(code, remove_high_word_);
}

bool RequestProxy::sum_requests_supported() {
    if (cache_) sum_requests_supported_ = cache_->sum_requests_supported.load();
    return sum_requests_supported_;
}

bool RequestProxy::write_mask_supported() {
    if (cache_) write_mask_supported_ = cache_->write_mask_supported.load();
    return write_mask_supported_;
}

void RequestProxy::clear_sum_requests_supported() {
    sum_requests_supported_ = false;
    if (cache_) cache_->sum_requests_supported = false;
}

void RequestProxy::clear_write_mask_supported() {
    write_mask_supported_ = false;
    if (cache_) cache_->write_mask_supported = false;
}

void RequestProxy::set_timeout(int port, int milliseconds) {
    FdxSyncSetTimeoutEx(port, milliseconds);
}

int RequestProxy::get_timeout(int port) {
    std::int32_t milliseconds = 0;
    return FdxSyncGetTimeoutEx(port, &milliseconds) == 0 ? milliseconds : 0;
}

RequestProxy::Data RequestProxy::read_from(const NrxAddr& address, std::uint32_t group, std::uint32_t offset,
                                           std::uint64_t size) {
    if (shut_down_) return {{}, SIMULATED_ERROR_AFTER_SHUTDOWN};
    if (size > limits_.response_size_limit) return {{}, HMI_FDX_E_REQUEST_TOO_LARGE};
    auto buffer = read_buffer(size);
    if (!buffer) return {{}, HMI_FDX_E_REQUEST_TOO_LARGE};
    std::uint32_t read = 0;
    const int code = translate(
        FdxSyncReadReqEx2(port_, &address, group, offset, static_cast<std::uint32_t>(size), buffer->data(), &read));
    buffer->resize(std::min<std::uint64_t>(read, size));
    return {std::move(*buffer), code};
}

RequestProxy::Bytes RequestProxy::data_by_handle_helper(std::uint32_t group, std::uint32_t offset, std::uint64_t size,
                                                        View bytes, int& result, std::uint32_t& read) {
    read = 0;
    if (shut_down_) {
        result = SIMULATED_ERROR_AFTER_SHUTDOWN;
        return {};
    }
    result = HMI_FDX_E_REQUEST_TOO_LARGE;
    if (size > limits_.response_size_limit || bytes.size() > std::numeric_limits<std::uint32_t>::max()) return {};
    auto buffer = read_buffer(size);
    if (!buffer) return {};
    const auto read_length = static_cast<std::uint32_t>(size);
    result = translate(FdxSyncReadWriteReqEx2(port_, &address_, group, offset, read_length, buffer->data(),
                                              static_cast<std::uint32_t>(bytes.size()), bytes.data(), &read));
    read = std::min(read, read_length);
    return std::move(*buffer);
}

RequestProxy::Data RequestProxy::write_and_read(std::uint32_t group, std::uint32_t offset, std::uint64_t size,
                                                View bytes) {
    Data data;
    std::uint32_t read = 0;
    data.first = data_by_handle_helper(group, offset, size, bytes, data.second, read);
    return data;
}

RequestProxy::Data RequestProxy::data_at(std::uint32_t group, std::uint32_t offset, std::uint64_t size) {
    return read_from(address_, group, offset, size);
}

RequestProxy::Data RequestProxy::data_by_handle(std::uint32_t handle, std::uint64_t size) {
    return data_at(group_value_by_handle, handle, size);
}

RequestProxy::Data RequestProxy::data_by_var_info(const SymbolInfo& symbol, std::uint64_t size) {
    return data_at(group_value_by_handle, symbol.handle, size);
}

RequestProxy::Data RequestProxy::data_by_name(const std::string& name, std::uint64_t size) {
    return write_and_read(group_value_by_name, 0, size, view_of(name));
}

std::pair<std::uint32_t, int> RequestProxy::handle_by_name(const std::string& name) {
    std::uint32_t handle = 0;
    const auto [bytes, code] = write_and_read(group_handle_by_name, 0, sizeof handle, view_of(name));
    if (bytes.size() == sizeof handle) std::memcpy(&handle, bytes.data(), sizeof handle);
    return {handle, code};
}

RequestProxy::Data RequestProxy::info_by_name(const std::string& name) {
    return write_and_read(group_info_by_name, 0, info_by_name_size, view_of(name));
}

RequestProxy::Data RequestProxy::data_by_handle_with_write_mask(std::uint32_t handle, std::uint64_t size, View bytes) {
    if (shut_down_) return {{}, SIMULATED_ERROR_AFTER_SHUTDOWN};
    if (write_mask_supported()) {
        Data data = write_and_read(group_masked_value_by_handle, handle, size, bytes);
        if (data.second != FDX_SERVICE_NOT_SUPPORTED && data.second != FDX_INVALID_INDEX_GROUP) return data;
        clear_write_mask_supported();
    }
    if (!require_write_mask_) return write_and_read(group_value_by_handle, handle, size, bytes);
    auto zeros = size > limits_.response_size_limit ? std::nullopt : read_buffer(size);
    if (!zeros) return {{}, HMI_FDX_E_REQUEST_TOO_LARGE};
    return {std::move(*zeros), FDX_SERVICE_NOT_SUPPORTED};
}

int RequestProxy::write_data_to(std::uint32_t group, std::uint32_t offset) {
    return write_data_to(group, offset, View());
}

int RequestProxy::write_data_to(std::uint32_t group, std::uint32_t offset, const ZoHmiSrv::Binary& bytes) {
    return write_data_to(group, offset, view_of(bytes));
}

int RequestProxy::write_data_to(std::uint32_t group, std::uint32_t offset, View bytes) {
    if (shut_down_) return SIMULATED_ERROR_AFTER_SHUTDOWN;
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) return HMI_FDX_E_REQUEST_TOO_LARGE;
    return translate(FdxSyncWriteReqEx(port_, &address_, group, offset, static_cast<std::uint32_t>(bytes.size()),
                                       bytes.empty() ? nullptr : bytes.data()));
}

RequestProxy::Data RequestProxy::read_write_at(std::uint32_t group, std::uint32_t offset, const ZoHmiSrv::Binary& bytes,
                                               std::uint64_t size) {
    Data data = write_and_read(group, offset, size, view_of(bytes));
    // This library's own code has no high word to remove.
    if (data.second != HMI_FDX_E_REQUEST_TOO_LARGE) data.second = translate_fdx_error_code(data.second, true);
    return data;
}

RequestProxy::Data RequestProxy::upload_info(std::uint64_t size) {
    return data_at(group_upload_info, 0, size);
}

RequestProxy::Data RequestProxy::symbol_descriptions_chunk(std::uint32_t offset, std::uint64_t size) {
    return data_at(group_symbol_upload, offset, size);
}

RequestProxy::Data RequestProxy::datatype_descriptions_chunk(std::uint32_t offset, std::uint64_t size) {
    return data_at(group_datatype_upload, offset, size);
}

std::tuple<std::uint16_t, std::uint16_t, int> RequestProxy::state() {
    if (shut_down_) return {std::uint16_t{0}, std::uint16_t{0}, SIMULATED_ERROR_AFTER_SHUTDOWN};
    std::uint16_t fdx_state = 0;
    std::uint16_t device_state = 0;
    const int code = translate(FdxSyncReadStateReqEx(port_, &address_, &fdx_state, &device_state));
    return {fdx_state, device_state, code};
}

std::tuple<std::string, FdxVersion, int> RequestProxy::device_info() {
    if (shut_down_) return {std::string(), FdxVersion(), SIMULATED_ERROR_AFTER_SHUTDOWN};
    const NrxAddr address = address_of(system_service_port);
    char name[device_name_size] = {};
    FdxVersion version;
    const int code = translate(FdxSyncReadDeviceInfoReqEx(port_, &address, name, &version));
    return {std::string(name, std::find(name, name + device_name_size, '\0')), version, code};
}

RequestProxy::Data RequestProxy::full_product_version() {
    return read_from(address_of(system_service_port), group_product_version, 0, 4 * sizeof(std::uint16_t));
}

std::pair<GUID, int> RequestProxy::system_id() {
    const auto [bytes, code] = data_at(group_system_id, offset_system_id, sizeof(GUID));
    if (code != HMI_FDX_SUCCESS) return {GUID(), code};
    if (bytes.size() < sizeof(GUID)) return {GUID(), invalid_size};
    return {ZoHmiSrv::Algorithm::uuid_from_bytes(bytes.data()), code};
}

} // namespace ZoHmiFdx
