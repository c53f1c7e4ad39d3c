#pragma once

#include "device/request/request_proxy.h"
#include "support/export.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ZoHmiFdx {

/// Sends any number of reads, writes and read-writes of one target in few requests.
///
/// Reads are sent first, in the order that fills the requests best. No read may depend on a write of the same batch.
/// Writes and read-writes follow in the order in which they were added. Each item has its own result. An item that does
/// not fit a sum is sent alone. For a target without sums, all items are sent one by one. One thread at a time.
class ZO_EXPORT RequestBatch {
public:
    using View = RequestProxy::View;

    /// Returns the number of the item, counted from 0. Copies the bytes.
    std::size_t add_read(std::uint32_t group, std::uint32_t offset, std::uint32_t length);
    std::size_t add_write(std::uint32_t group, std::uint32_t offset, View bytes);
    std::size_t add_read_write(std::uint32_t group, std::uint32_t offset, std::uint32_t read_length, View bytes);

    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    void clear() noexcept;

    /// Sends all items, also those that an earlier call sent. Blocks for as long as the requests take. Throws
    /// std::bad_alloc; items that were not sent by then have the code 0x10004B.
    void send(RequestProxy& proxy);

    /// Returns the code of the item. If the whole request failed, the item has the code of the request.
    [[nodiscard]] int code(std::size_t item) const { return items_[item].code; }
    /// Returns all bytes of a successful read, and the received bytes of a read-write; empty for any other item. Valid
    /// until the next `send`, `clear` or destruction.
    [[nodiscard]] View bytes(std::size_t item) const { return items_[item].bytes; }

private:
    enum class Kind : std::uint8_t { Read, Write, ReadWrite };
    struct Item {
        Kind kind;
        std::uint32_t group;
        std::uint32_t offset;
        std::uint32_t read_length;
        std::size_t write_start; // in written_
        std::uint32_t write_length;
        int code;
        View bytes;
    };
    using Numbers = std::span<const std::size_t>;

    std::size_t add(const Item& item, View bytes);
    View written(const Item& item) const { return View(written_).subspan(item.write_start, item.write_length); }
    void send_reads(RequestProxy& proxy);
    void send_in_order(RequestProxy& proxy);
    void send_sum(RequestProxy& proxy, Numbers numbers);
    void send_single(RequestProxy& proxy, Item& item);
    RequestProxy::Bytes wire_of(Numbers numbers) const;
    View keep(RequestProxy::Bytes bytes);

    std::vector<Item> items_;
    RequestProxy::Bytes written_;
    std::vector<RequestProxy::Bytes> answers_; // memory of the items' bytes
};

} // namespace ZoHmiFdx
