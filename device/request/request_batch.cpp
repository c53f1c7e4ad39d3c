#include "device/request/request_batch.h"

#include "device/code/result_codes.h"
#include "device/request/detail/pack_reads.h"
#include "device/request/index_groups.h"
#include "device/request/sub_request.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace ZoHmiFdx {

namespace {

constexpr std::size_t code_size = sizeof(std::uint32_t);
constexpr std::size_t pair_size = 2 * code_size;

std::uint32_t number_at(RequestProxy::View bytes, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

template <class T>
void append(RequestProxy::Bytes& bytes, const T& record) {
    const auto* const start = reinterpret_cast<const unsigned char*>(&record);
    bytes.insert(bytes.end(), start, start + sizeof record);
}

} // namespace

std::size_t RequestBatch::add_read(std::uint32_t group, std::uint32_t offset, std::uint32_t length) {
    return add({Kind::Read, group, offset, length, 0, 0, 0, {}}, {});
}

std::size_t RequestBatch::add_write(std::uint32_t group, std::uint32_t offset, View bytes) {
    return add({Kind::Write, group, offset, 0, 0, 0, 0, {}}, bytes);
}

std::size_t RequestBatch::add_read_write(std::uint32_t group, std::uint32_t offset, std::uint32_t read_length,
                                         View bytes) {
    return add({Kind::ReadWrite, group, offset, read_length, 0, 0, 0, {}}, bytes);
}

std::size_t RequestBatch::add(const Item& item, View bytes) {
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("an item of a batch is longer than a request can be");
    items_.push_back(item);
    Item& added = items_.back();
    added.code = HMI_FDX_E_RESULT_NOT_PROCESSED;
    added.write_start = written_.size();
    added.write_length = static_cast<std::uint32_t>(bytes.size());
    try {
        written_.insert(written_.end(), bytes.begin(), bytes.end());
    } catch (...) {
        items_.pop_back();
        throw;
    }
    return items_.size() - 1;
}

void RequestBatch::clear() noexcept {
    items_.clear();
    written_.clear();
    answers_.clear();
}

void RequestBatch::send(RequestProxy& proxy) {
    for (Item& item : items_) {
        item.code = HMI_FDX_E_RESULT_NOT_PROCESSED;
        item.bytes = {};
    }
    answers_.clear();
    send_reads(proxy);
    send_in_order(proxy);
}

void RequestBatch::send_reads(RequestProxy& proxy) {
    const RequestLimits& limits = proxy.limits();
    const std::uint64_t max_items = std::max<std::uint64_t>(limits.sum_request_limit, 1);
    const std::uint64_t max_bytes =
        std::min<std::uint64_t>(limits.response_size_limit, std::numeric_limits<std::uint32_t>::max());
    std::vector<std::size_t> numbers;
    std::vector<std::uint64_t> sizes;
    for (std::size_t i = 0; i < items_.size(); ++i) {
        Item& item = items_[i];
        if (item.kind != Kind::Read) continue;
        const std::uint64_t size = item.read_length + code_size;
        if (size > max_bytes) {
            send_single(proxy, item); // succeeds alone, or gets the code for an item that is too large
        } else {
            numbers.push_back(i);
            sizes.push_back(size);
        }
    }
    if (numbers.empty()) return;
    Packing packing = pack_reads(sizes, max_items, max_bytes);
    for (std::size_t& number : packing.numbers)
        number = numbers[number];
    std::size_t start = 0;
    for (const std::size_t end : packing.ends) {
        send_sum(proxy, Numbers(packing.numbers).subspan(start, end - start));
        start = end;
    }
}

// Writes and read-writes. A run of one kind is cut where the next item would exceed a limit. This is the smallest
// number of requests that keeps the order.
void RequestBatch::send_in_order(RequestProxy& proxy) {
    const RequestLimits& limits = proxy.limits();
    std::vector<std::size_t> run;
    std::uint64_t response = 0;
    std::uint64_t handles = 0;
    std::uint64_t wire = 0;
    const auto flush = [&] {
        if (!run.empty()) send_sum(proxy, run);
        run.clear();
        response = handles = wire = 0;
    };
    for (std::size_t i = 0; i < items_.size(); ++i) {
        Item& item = items_[i];
        if (item.kind == Kind::Read) continue;
        const bool reads = item.kind == Kind::ReadWrite;
        const std::uint64_t size = reads ? pair_size + item.read_length : code_size;
        const std::uint64_t sent = (reads ? sizeof(FdxReqWrite) : sizeof(FdxReq)) + std::uint64_t{item.write_length};
        const std::uint64_t creates = reads && item.group == group_handle_by_name ? 1 : 0;
        if (!run.empty() &&
            (items_[run.front()].kind != item.kind || run.size() >= limits.sum_request_limit ||
             response + size > limits.response_size_limit || wire + sent > std::numeric_limits<std::uint32_t>::max() ||
             (creates != 0 && handles + creates > limits.new_handles_per_sum_request_limit)))
            flush();
        run.push_back(i);
        response += size;
        wire += sent;
        handles += creates;
    }
    flush();
}

RequestProxy::Bytes RequestBatch::wire_of(Numbers numbers) const {
    RequestProxy::Bytes wire;
    std::size_t size = 0;
    for (const std::size_t number : numbers)
        size += sizeof(FdxReqWrite) + items_[number].write_length;
    wire.reserve(size);
    for (const std::size_t number : numbers) {
        const Item& item = items_[number];
        if (item.kind == Kind::ReadWrite)
            append(wire, FdxReqWrite(item.group, item.offset, item.read_length, item.write_length));
        else
            append(wire,
                   FdxReq(item.group, item.offset, item.kind == Kind::Read ? item.read_length : item.write_length));
    }
    for (const std::size_t number : numbers) {
        const View bytes = written(items_[number]);
        wire.insert(wire.end(), bytes.begin(), bytes.end());
    }
    return wire;
}

RequestBatch::View RequestBatch::keep(RequestProxy::Bytes bytes) {
    return answers_.emplace_back(std::move(bytes));
}

void RequestBatch::send_sum(RequestProxy& proxy, Numbers numbers) {
    if (numbers.size() == 1 || !proxy.sum_requests_supported()) {
        for (const std::size_t number : numbers)
            send_single(proxy, items_[number]);
        return;
    }
    const Kind kind = items_[numbers.front()].kind;
    const std::size_t head = kind == Kind::ReadWrite ? pair_size : code_size;
    std::uint64_t read_length = numbers.size() * head;
    for (const std::size_t number : numbers)
        read_length += items_[number].read_length;
    const RequestProxy::Bytes wire = wire_of(numbers);
    auto [bytes, code] = kind == Kind::Read    ? proxy.do_multiple_reads(numbers.size(), wire, read_length)
                         : kind == Kind::Write ? proxy.do_multiple_writes(numbers.size(), wire)
                                               : proxy.do_multiple_reads_and_writes(numbers.size(), wire, read_length);
    if (code != HMI_FDX_SUCCESS || bytes.size() < numbers.size() * head) {
        for (const std::size_t number : numbers)
            items_[number].code = code != HMI_FDX_SUCCESS ? code : HMI_FDX_E_INVALID_DATA;
        return;
    }
    const View answer = keep(std::move(bytes));
    std::size_t at = numbers.size() * head;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        Item& item = items_[numbers[i]];
        item.code = static_cast<int>(number_at(answer, i * head));
        const std::size_t wanted =
            kind == Kind::ReadWrite ? number_at(answer, i * head + code_size) : std::size_t{item.read_length};
        const std::size_t length = std::min(wanted, answer.size() - at);
        if (item.code == HMI_FDX_SUCCESS || kind == Kind::ReadWrite) item.bytes = answer.subspan(at, length);
        at += length;
    }
}

void RequestBatch::send_single(RequestProxy& proxy, Item& item) {
    constexpr int invalid_size = 0x705;
    if (item.kind == Kind::Write) {
        item.code = proxy.write_data_to(item.group, item.offset, written(item));
    } else if (item.kind == Kind::Read) {
        auto [bytes, code] = proxy.data_at(item.group, item.offset, item.read_length);
        item.code = code == HMI_FDX_SUCCESS && bytes.size() < item.read_length ? invalid_size : code;
        if (item.code == HMI_FDX_SUCCESS) item.bytes = keep(std::move(bytes));
    } else {
        std::uint32_t came = 0;
        auto bytes =
            proxy.data_by_handle_helper(item.group, item.offset, item.read_length, written(item), item.code, came);
        bytes.resize(came);
        item.bytes = keep(std::move(bytes));
    }
}

} // namespace ZoHmiFdx
