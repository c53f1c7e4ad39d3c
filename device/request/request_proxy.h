#pragma once

#include "device/net/net_id.h"
#include "device/request/request_limits.h"
#include "extension/host/binary.h"
#include "support/export.h"
#include "support/guid.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

class SymbolInfo;
struct RuntimeConfigBaseCache;

/// Talks to one service of a target over a client port.
///
/// All numbers on the wire are little-endian. Codes are those of result_codes.h. A device code has no high word unless
/// `dont_remove_high_word_of_error_codes` was called. A request fails with 0x10004C, without data and traffic, in three
/// cases: it exceeds the limits, a length exceeds 32 bits, or memory for a buffer runs out. Requests are not retried
/// after a timeout. Every operation blocks for at most the timeout of the port for each request that it sends. [any
/// thread]
class ZO_EXPORT RequestProxy {
public:
    using Bytes = std::vector<unsigned char>;
    using View = std::span<const unsigned char>;
    /// The bytes that were read, and the code.
    using Data = std::pair<Bytes, int>;

    /// The code of every operation after `shutdown`.
    static constexpr int SIMULATED_ERROR_AFTER_SHUTDOWN = 0x745;

    /// Makes a relative net ID absolute. The cache may be null; proxies to the same runtime share it. With
    /// `require_write_mask` a masked write to a target without masks fails with 0x701; otherwise it goes without a
    /// mask.
    RequestProxy(unsigned long port, NrxAddr address, const RequestLimits& limits, bool require_write_mask,
                 std::shared_ptr<RuntimeConfigBaseCache> cache);

    /// Refuses all requests from now on. A request that is in progress finishes.
    void shutdown() noexcept { shut_down_ = true; }
    void simulate_bad_connection(int) noexcept {}
    void switch_to_port(unsigned port) noexcept { port_ = static_cast<int>(port); }
    void dont_remove_high_word_of_error_codes() noexcept { remove_high_word_ = false; }
    [[nodiscard]] const RequestLimits& limits() const noexcept { return limits_; }
    /// Returns false after the target has answered that it does not support sums.
    [[nodiscard]] bool sum_requests_supported();

    /// Returns the timeout of a client port in milliseconds; 0 if it cannot be read.
    static void set_timeout(int port, int milliseconds);
    [[nodiscard]] static int get_timeout(int port);

    /// @name Single operations
    /// Reads by address or handle return only the received bytes. Reads by name and read-writes return the requested
    /// size, padded with zeros. Names are in the code page of the target and travel without a terminator.
    /// @{
    Data data_at(std::uint32_t group, std::uint32_t offset, std::uint64_t size);
    Data data_by_handle(std::uint32_t handle, std::uint64_t size);
    Data data_by_var_info(const SymbolInfo& symbol, std::uint64_t size);
    Data data_by_name(const std::string& name, std::uint64_t size);
    std::pair<std::uint32_t, int> handle_by_name(const std::string& name);
    /// Returns the symbol entry, at most 255 bytes.
    Data info_by_name(const std::string& name);
    /// Writes the data, followed by a mask, to 0xF018. For a target without masks, the same bytes go to 0xF005.
    Data data_by_handle_with_write_mask(std::uint32_t handle, std::uint64_t size, View bytes);
    /// Writes `bytes` and reads `size` bytes; `read` is the number of received bytes.
    Bytes data_by_handle_helper(std::uint32_t group, std::uint32_t offset, std::uint64_t size, View bytes, int& result,
                                std::uint32_t& read);
    int write_data_to(std::uint32_t group, std::uint32_t offset);
    int write_data_to(std::uint32_t group, std::uint32_t offset, const ZoHmiSrv::Binary& bytes);
    int write_data_to(std::uint32_t group, std::uint32_t offset, View bytes);
    /// The code never has its high word.
    Data read_write_at(std::uint32_t group, std::uint32_t offset, const ZoHmiSrv::Binary& bytes, std::uint64_t size);

    Data upload_info(std::uint64_t size);
    Data symbol_descriptions_chunk(std::uint32_t offset, std::uint64_t size);
    Data datatype_descriptions_chunk(std::uint32_t offset, std::uint64_t size);

    /// Returns the state of the device protocol, the state of the device, and the code.
    std::tuple<std::uint16_t, std::uint16_t, int> state();
    /// Returns name and version of the target's system service, and the code.
    std::tuple<std::string, FdxVersion, int> device_info();
    /// Returns eight bytes: four numbers of 16 bits.
    Data full_product_version();
    /// The code is 0x705 if the answer is too short.
    std::pair<GUID, int> system_id();
    /// @}

    /// @name Sums
    /// A sum is many sub-requests in one request. `bytes` begins with `n` descriptors (sub_request.h). The data to
    /// write follow in the same order. The answer begins with the codes of the target; the data follow:
    ///
    ///     reads        n codes of 4 bytes, then the data of all reads in full length, padded with zeros
    ///     writes       n codes of 4 bytes
    ///     read-writes  n pairs of code and returned length, then the data packed by the returned lengths
    ///
    /// A successful item whose code or data are missing gets the code 0x705. A sum beyond the limits, or beyond the
    /// memory of the target (0x70A), is split in halves. A target without sums (0x701) gets single requests. A sum that
    /// fails as a whole has no data. If the descriptors do not fit `bytes`, the code is 0x100034 without traffic.
    /// @{
    Data do_multiple_reads(unsigned long n, View bytes, std::uint64_t read_length);
    Data do_multiple_writes(unsigned long n, View bytes);
    Data do_multiple_reads_and_writes(unsigned long n, View bytes, std::uint64_t read_length);
    /// For descriptors of the group 0xF018. For a target without masks they become plain writes.
    Data do_multiple_writes_with_write_mask(unsigned long n, View bytes);
    Data release_handles(const std::vector<int>& handles);

    /// Turns masked writes into plain ones: sets the group of the first `n` descriptors to 0xF005.
    static void dont_use_write_mask(unsigned long n, std::span<unsigned char> bytes);
    /// Returns whether the code is among the first quarter of a list of codes, rounded up. Ignores the other codes.
    [[nodiscard]] static bool contains_error_code(View bytes, int code);
    /// Returns whether a sum of read-writes creates more handles than the limits allow.
    [[nodiscard]] bool too_many_handle_creations(unsigned long n, View data, std::uint32_t group) const;
    /// @}

private:
    friend class SumRequest;

    [[nodiscard]] int translate(int code) const;
    NrxAddr address_of(std::uint16_t port) const { return {address_.net_id, port}; }
    Data read_from(const NrxAddr& address, std::uint32_t group, std::uint32_t offset, std::uint64_t size);
    Data read_by_name(std::uint32_t group, const std::string& name, std::uint64_t size);
    Data write_and_read(std::uint32_t group, std::uint32_t offset, std::uint64_t size, View bytes);
    bool write_mask_supported();
    void clear_sum_requests_supported();
    void clear_write_mask_supported();

    std::atomic<int> port_;
    const NrxAddr address_;
    std::atomic<bool> sum_requests_supported_ = true;
    std::atomic<bool> write_mask_supported_ = true;
    const RequestLimits limits_;
    const std::shared_ptr<RuntimeConfigBaseCache> cache_;
    const bool require_write_mask_;
    std::atomic<bool> remove_high_word_ = true;
    std::atomic<bool> shut_down_ = false;
};

} // namespace ZoHmiFdx
