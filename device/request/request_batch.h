#pragma once

#include "device/request/request_proxy.h"
#include "support/export.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ZoHmiFdx {

/// Any number of reads, writes and read-writes of one target, sent in few requests.
///
/// Reads go first, in whatever order fills the requests best; one must not depend on a write of the same batch. Writes
/// and read-writes follow in the order of adding. Each item has an answer of its own: a failure of one hides no other.
/// Items that a sum cannot carry, and all items of a target without sums, go one by one. One thread at a time.
class ZO_EXPORT RequestBatch {
public:
    using View = RequestProxy::View;

    /// Each returns the number of the item, counted from 0. The bytes are copied.
    std::size_t add_read(std::uint32_t group, std::uint32_t offset, std::uint32_t length);
    std::size_t add_write(std::uint32_t group, std::uint32_t offset, View bytes);
    std::size_t add_read_write(std::uint32_t group, std::uint32_t offset, std::uint32_t read_length, View bytes);

    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    void clear() noexcept;

    /// Sends all items, and those of an earlier call again. Blocks for as long as the requests take. Throws
    /// std::bad_alloc; items that were not sent by then have the code 0x10004B.
    void send(RequestProxy& proxy);

    /// The code of the item; of an item whose request failed as a whole the request's.
    [[nodiscard]] int code(std::size_t item) const { return items_[item].code; }
    /// Of a read that succeeded all bytes, of a read-write the bytes that came, else nothing. Valid until the next
    /// `send`, `clear` or destruction.
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
    std::vector<RequestProxy::Bytes> answers_; // what the items' bytes lie in
};

} // namespace ZoHmiFdx
