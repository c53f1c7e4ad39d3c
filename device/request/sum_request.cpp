#include "device/code/result_codes.h"
#include "device/net/fdx_client.h"
#include "device/request/detail/read_buffer.h"
#include "device/request/index_groups.h"
#include "device/request/request_proxy.h"
#include "device/request/sub_request.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace ZoHmiFdx {

namespace {

using Bytes = RequestProxy::Bytes;
using View = RequestProxy::View;

constexpr int invalid_size = 0x705;
constexpr int no_device_memory = 0x70A;
constexpr std::size_t code_size = sizeof(std::uint32_t);
constexpr std::size_t pair_size = 2 * code_size;

std::uint32_t number_at(View bytes, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

void put_number(Bytes& bytes, std::size_t at, std::uint32_t number) {
    std::memcpy(bytes.data() + at, &number, sizeof number);
}

/// The wire format of the sub-requests of one sum group.
struct Layout {
    std::size_t descriptor_size;
    std::size_t answer_head_size; ///< of each item, in front of all data
};

Layout layout_of(std::uint32_t group) {
    return group == group_sum_read_write ? Layout{sizeof(FdxReqWrite), pair_size} : Layout{sizeof(FdxReq), code_size};
}

/// One sub-request of any kind of sum.
struct SubRequest {
    std::uint32_t index_group = 0;
    std::uint32_t index_offset = 0;
    std::uint32_t read_length = 0;
    std::uint32_t write_length = 0;
};

SubRequest sub_request_at(std::uint32_t group, View descriptors, std::size_t index) {
    if (group == group_sum_read_write) {
        FdxReqWrite wire;
        std::memcpy(&wire, descriptors.data() + index * sizeof wire, sizeof wire);
        return {wire.index_group, wire.index_offset, wire.read_length, wire.write_length};
    }
    FdxReq wire;
    std::memcpy(&wire, descriptors.data() + index * sizeof wire, sizeof wire);
    if (group == group_sum_read) return {wire.index_group, wire.index_offset, wire.length, 0};
    return {wire.index_group, wire.index_offset, 0, wire.length};
}

/// Returns the overall code for a single request that replaces a sum. Only connection failures count. Any other code
/// belongs to the item.
int adopt_req_error_for_fake_sum_req(int code) {
    switch (code) {
    case 0x6:
    case 0x7:
    case 0xD:
    case 0x12:
    case 0x745:
        return code;
    default:
        return HMI_FDX_SUCCESS;
    }
}

/// Sets the code 0x705 for each read or write whose code or data are missing.
void mark_missing(std::uint32_t group, View descriptors, std::size_t count, Bytes& bytes, std::size_t came) {
    std::uint64_t data_end = count * code_size;
    for (std::size_t i = 0; i < count && (i + 1) * code_size <= bytes.size(); ++i) {
        data_end += sub_request_at(group, descriptors, i).read_length;
        const bool code_came = (i + 1) * code_size <= came;
        const bool complete = data_end <= came || group == group_sum_write;
        if (!code_came || (!complete && number_at(bytes, i * code_size) == HMI_FDX_SUCCESS))
            put_number(bytes, i * code_size, invalid_size);
    }
}

/// Does the same for read-writes. The returned lengths then add up to the received data.
void fit_returned_lengths(std::size_t count, Bytes& bytes, std::size_t came) {
    std::size_t end = count * pair_size;
    for (std::size_t i = 0; i < count && (i + 1) * pair_size <= bytes.size(); ++i) {
        const std::size_t at = i * pair_size;
        const bool pair_came = at + pair_size <= came;
        const std::size_t left = came > end ? came - end : 0;
        const std::size_t returned = pair_came ? number_at(bytes, at + code_size) : 0;
        if (!pair_came || (returned > left && number_at(bytes, at) == HMI_FDX_SUCCESS))
            put_number(bytes, at, invalid_size);
        const std::size_t length = std::min(returned, left);
        put_number(bytes, at + code_size, static_cast<std::uint32_t>(length));
        end += length;
    }
    bytes.resize(std::min(end, bytes.size()));
}

} // namespace

/// One sum in progress: splits and sends the sum, and joins the answers. Halves are views into the caller's buffer. A
/// half gets a new buffer only if it is sent and its data do not directly follow its descriptors.
class SumRequest {
public:
    SumRequest(RequestProxy& proxy, std::uint32_t group) : proxy_(proxy), group_(group), layout_(layout_of(group)) {}

    RequestProxy::Data run(std::uint64_t n, View bytes, std::uint64_t read_length) {
        if (n == 0 || bytes.empty()) return {};
        try {
            const bool fits = n <= bytes.size() / layout_.descriptor_size;
            const std::size_t head = fits ? n * layout_.descriptor_size : bytes.size();
            malformed_ = !fits;
            const int code = do_multiple_internal_helper({bytes.first(head), bytes.subspan(head), n, read_length},
                                                         proxy_.limits().sum_request_limit);
            if (code == HMI_FDX_E_INVALID_PARAMETER && malformed_) return {{}, code};
            return {join(), code};
        } catch (const std::bad_alloc&) {
            return {{}, HMI_FDX_E_REQUEST_TOO_LARGE};
        }
    }

private:
    struct Piece {
        View descriptors;
        View data;
        std::uint64_t count;
        std::uint64_t read_length;
    };
    struct Answer {
        Bytes bytes;
        std::size_t head_size;
    };

    int do_multiple_internal_helper(const Piece& piece, std::uint64_t limit) {
        const RequestLimits& limits = proxy_.limits();
        const bool too_long = piece.read_length > limits.response_size_limit;
        if (piece.count == 1 && too_long) return HMI_FDX_E_REQUEST_TOO_LARGE;
        if (proxy_.shut_down_) return RequestProxy::SIMULATED_ERROR_AFTER_SHUTDOWN;
        if (malformed_) return HMI_FDX_E_INVALID_PARAMETER;
        if (piece.count > 1) {
            if (piece.count > limit || too_long) return do_multiple_internal_split(piece, limit);
            if (proxy_.too_many_handle_creations(piece.count, piece.descriptors, group_))
                return do_multiple_internal_split(piece, limit);
        }
        Answer answer{{}, 0};
        int code = do_multiple_internal_exec(piece, answer);
        if (piece.count > 1 && code == no_device_memory) return do_multiple_internal_split(piece, limit);
        if (code == FDX_SERVICE_NOT_SUPPORTED) {
            proxy_.clear_sum_requests_supported();
            if (piece.count > 1) return do_multiple_internal_split(piece, 1);
            code = do_multiple_internal_exec(piece, answer);
        }
        if (!answer.bytes.empty()) answers_.push_back(std::move(answer));
        return code;
    }

    int do_multiple_internal_split(const Piece& piece, std::uint64_t limit) {
        const std::uint64_t half = piece.count / 2;
        std::uint64_t write_length = 0;
        std::uint64_t read_length = half * layout_.answer_head_size;
        for (std::uint64_t i = 0; i < half; ++i) {
            const SubRequest item = sub_request_at(group_, piece.descriptors, i);
            write_length += item.write_length;
            read_length += item.read_length;
        }
        if (write_length > piece.data.size() || read_length > piece.read_length) {
            malformed_ = true;
            return HMI_FDX_E_INVALID_PARAMETER;
        }
        const std::size_t head = half * layout_.descriptor_size;
        const int first = do_multiple_internal_helper(
            {piece.descriptors.first(head), piece.data.first(write_length), half, read_length}, limit);
        if (malformed_) return HMI_FDX_E_INVALID_PARAMETER;
        const int second =
            do_multiple_internal_helper({piece.descriptors.subspan(head), piece.data.subspan(write_length),
                                         piece.count - half, piece.read_length - read_length},
                                        limit);
        if (malformed_) return HMI_FDX_E_INVALID_PARAMETER;
        return first != HMI_FDX_SUCCESS ? first : second;
    }

    int do_multiple_internal_exec(const Piece& piece, Answer& answer) {
        if (proxy_.shut_down_) return RequestProxy::SIMULATED_ERROR_AFTER_SHUTDOWN;
        if (piece.count == 1 && !proxy_.sum_requests_supported()) return execute_single(piece, answer);

        auto buffer = read_buffer(piece.read_length);
        constexpr auto longest = std::numeric_limits<std::uint32_t>::max();
        if (!buffer || piece.count > longest || piece.descriptors.size() + piece.data.size() > longest)
            return HMI_FDX_E_REQUEST_TOO_LARGE;
        Bytes built;
        const View wire = wire_of(piece, built);
        std::uint32_t came = 0;
        const int code = proxy_.translate(
            FdxSyncReadWriteReqEx2(proxy_.port_, &proxy_.address_, group_, static_cast<std::uint32_t>(piece.count),
                                   static_cast<std::uint32_t>(buffer->size()), buffer->data(),
                                   static_cast<std::uint32_t>(wire.size()), wire.data(), &came));
        if (code != HMI_FDX_SUCCESS) return code;
        keep(piece, std::move(*buffer), came, answer);
        return code;
    }

    /// Returns descriptors and data in one range. Only the second half of a sum with data needs a copy.
    static View wire_of(const Piece& piece, Bytes& built) {
        if (piece.data.empty()) return piece.descriptors;
        if (piece.descriptors.data() + piece.descriptors.size() == piece.data.data())
            return {piece.descriptors.data(), piece.descriptors.size() + piece.data.size()};
        built.reserve(piece.descriptors.size() + piece.data.size());
        built.assign(piece.descriptors.begin(), piece.descriptors.end());
        built.insert(built.end(), piece.data.begin(), piece.data.end());
        return built;
    }

    /// Sends one sub-request to a target without sums. The answer has the layout of a sum.
    int execute_single(const Piece& piece, Answer& answer) {
        const SubRequest item = sub_request_at(group_, piece.descriptors, 0);
        if (item.write_length > piece.data.size()) {
            malformed_ = true;
            return HMI_FDX_E_INVALID_PARAMETER;
        }
        const View written = piece.data.first(item.write_length);
        int code = HMI_FDX_SUCCESS;
        Bytes data;
        std::uint32_t came = 0;
        if (group_ == group_sum_read_write) {
            data = proxy_.data_by_handle_helper(item.index_group, item.index_offset, item.read_length, written, code,
                                                came);
            data.resize(came);
        } else if (group_ == group_sum_write) {
            code = proxy_.write_data_to(item.index_group, item.index_offset, written);
        } else {
            std::tie(data, code) = proxy_.data_at(item.index_group, item.index_offset, item.read_length);
        }

        answer.head_size = layout_.answer_head_size;
        answer.bytes.resize(layout_.answer_head_size);
        put_number(answer.bytes, 0, static_cast<std::uint32_t>(code));
        answer.bytes.insert(answer.bytes.end(), data.begin(), data.end());
        if (group_ == group_sum_read_write) {
            put_number(answer.bytes, code_size, came);
        } else {
            const std::size_t size = answer.bytes.size();
            auto buffer = read_buffer(piece.read_length);
            if (!buffer) return HMI_FDX_E_REQUEST_TOO_LARGE;
            std::copy_n(answer.bytes.begin(), std::min(size, buffer->size()), buffer->begin());
            answer.bytes = std::move(*buffer);
            if (group_ == group_sum_read) mark_missing(group_, piece.descriptors, 1, answer.bytes, size);
        }
        return adopt_req_error_for_fake_sum_req(code);
    }

    void keep(const Piece& piece, Bytes bytes, std::size_t came, Answer& answer) const {
        came = std::min(came, bytes.size());
        if (group_ == group_sum_read_write) {
            fit_returned_lengths(piece.count, bytes, came);
        } else if (came < bytes.size()) {
            std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(came), bytes.end(), static_cast<unsigned char>(0));
            mark_missing(group_, piece.descriptors, piece.count, bytes, came);
        }
        answer.head_size = std::min<std::size_t>(piece.count * layout_.answer_head_size, bytes.size());
        answer.bytes = std::move(bytes);
    }

    /// Returns the codes of all pieces, then the data of all pieces.
    Bytes join() {
        if (answers_.empty()) return {};
        if (answers_.size() == 1) return std::move(answers_.front().bytes);
        std::size_t size = 0;
        for (const Answer& answer : answers_)
            size += answer.bytes.size();
        Bytes joined;
        joined.reserve(size);
        const auto head_end = [](const Answer& answer) {
            return answer.bytes.begin() + static_cast<std::ptrdiff_t>(answer.head_size);
        };
        for (const Answer& answer : answers_)
            joined.insert(joined.end(), answer.bytes.begin(), head_end(answer));
        for (const Answer& answer : answers_)
            joined.insert(joined.end(), head_end(answer), answer.bytes.end());
        return joined;
    }

    RequestProxy& proxy_;
    const std::uint32_t group_;
    const Layout layout_;
    std::vector<Answer> answers_;
    bool malformed_ = false; // the descriptors contradict the size of the buffer
};

RequestProxy::Data RequestProxy::do_multiple_reads(unsigned long n, View bytes, std::uint64_t read_length) {
    return SumRequest(*this, group_sum_read).run(n, bytes, read_length);
}

RequestProxy::Data RequestProxy::do_multiple_writes(unsigned long n, View bytes) {
    return SumRequest(*this, group_sum_write).run(n, bytes, n * code_size);
}

RequestProxy::Data RequestProxy::do_multiple_reads_and_writes(unsigned long n, View bytes, std::uint64_t read_length) {
    return SumRequest(*this, group_sum_read_write).run(n, bytes, read_length);
}

RequestProxy::Data RequestProxy::do_multiple_writes_with_write_mask(unsigned long n, View bytes) {
    if (write_mask_supported()) {
        Data data = do_multiple_writes(n, bytes);
        if (data.second != HMI_FDX_SUCCESS || data.first.size() < code_size) return data;
        const bool refused = contains_error_code(data.first, FDX_SERVICE_NOT_SUPPORTED) ||
                             contains_error_code(data.first, FDX_INVALID_INDEX_GROUP);
        if (!refused) return data;
        clear_write_mask_supported();
    }
    if (shut_down_) return {{}, SIMULATED_ERROR_AFTER_SHUTDOWN};
    if (require_write_mask_) return {{}, FDX_SERVICE_NOT_SUPPORTED};
    Bytes plain(bytes.begin(), bytes.end());
    dont_use_write_mask(n, plain);
    return do_multiple_writes(n, plain);
}

RequestProxy::Data RequestProxy::release_handles(const std::vector<int>& handles) {
    Bytes bytes(handles.size() * (sizeof(FdxReq) + sizeof(int)));
    const FdxReq request(group_release_handle, 0, sizeof(int));
    for (std::size_t i = 0; i < handles.size(); ++i)
        std::memcpy(bytes.data() + i * sizeof request, &request, sizeof request);
    if (!handles.empty())
        std::memcpy(bytes.data() + handles.size() * sizeof request, handles.data(), handles.size() * sizeof(int));
    return do_multiple_writes(handles.size(), bytes);
}

void RequestProxy::dont_use_write_mask(unsigned long n, std::span<unsigned char> bytes) {
    const std::uint32_t group = group_value_by_handle;
    const std::size_t count = std::min<std::size_t>(n, bytes.size() / sizeof(FdxReq));
    for (std::size_t i = 0; i < count; ++i)
        std::memcpy(bytes.data() + i * sizeof(FdxReq), &group, sizeof group);
}

// The bound counts codes, but the position counts bytes. So the loop tests only a quarter of the list, and always at
// least one code. Callers depend on it.
bool RequestProxy::contains_error_code(View bytes, int code) {
    if (bytes.size() < code_size) return false;
    std::size_t at = 0;
    do {
        if (number_at(bytes, at) == static_cast<std::uint32_t>(code)) return true;
        at += code_size;
    } while (at < bytes.size() / code_size);
    return false;
}

bool RequestProxy::too_many_handle_creations(unsigned long n, View data, std::uint32_t group) const {
    const std::uint64_t limit = limits_.new_handles_per_sum_request_limit;
    if (group != group_sum_read_write || n <= limit) return false;
    const std::size_t count = std::min<std::size_t>(n, data.size() / sizeof(FdxReqWrite));
    std::uint64_t created = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (number_at(data, i * sizeof(FdxReqWrite)) == group_handle_by_name) ++created;
    return created > limit;
}

} // namespace ZoHmiFdx
