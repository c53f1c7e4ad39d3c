#include "platform/link/frame.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

namespace zo_link {

namespace {

constexpr std::size_t length_size = 4;

void write_length(std::vector<std::uint8_t>& frame) {
    const auto length = static_cast<std::uint32_t>(frame.size() - length_size);
    for (std::size_t i = 0; i < length_size; ++i)
        frame[i] = static_cast<std::uint8_t>(length >> (8 * i));
}

/// The first byte of an item, and the number that follows it.
struct Head {
    unsigned major = 0;
    unsigned info = 0;
    std::uint64_t number = 0;
};

bool read_head(std::span<const std::uint8_t> bytes, std::size_t& position, Head& head) {
    if (position == bytes.size()) return false;
    head.major = bytes[position] >> 5;
    head.info = bytes[position] & 31u;
    ++position;
    if (head.info < 24) {
        head.number = head.info;
        return true;
    }
    if (head.info > 27) return false; // reserved, or an indefinite length
    const std::size_t width = std::size_t{1} << (head.info - 24);
    if (bytes.size() - position < width) return false;
    head.number = 0;
    for (std::size_t i = 0; i < width; ++i)
        head.number = head.number << 8 | bytes[position++];
    return true;
}

void append_array_head(std::vector<std::uint8_t>& bytes, std::size_t count) {
    bytes.push_back(0x9a);
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(count >> shift));
}

std::vector<std::uint8_t> encode_part(std::uint32_t id, bool more, std::size_t count,
                                      const std::vector<std::uint8_t>& items) {
    std::vector<std::uint8_t> frame(length_size);
    frame.reserve(items.size() + 64);
    frame.push_back(more ? 0xa4 : 0xa3); // a map of four or three members
    const auto member = [&frame](const char* name, const nlohmann::json& value) {
        nlohmann::json::to_cbor(name, frame);
        nlohmann::json::to_cbor(value, frame);
    };
    member("id", id);
    member("code", code::ok);
    if (more) member("more", true);
    nlohmann::json::to_cbor("items", frame);
    append_array_head(frame, count);
    frame.insert(frame.end(), items.begin(), items.end());
    write_length(frame);
    return frame;
}

} // namespace

const char* frame_error_text(FrameError error) {
    switch (error) {
    case FrameError::none:
        return "no error";
    case FrameError::oversize:
        return "frame too long";
    case FrameError::empty:
        return "frame of length 0";
    case FrameError::malformed:
        return "malformed CBOR";
    case FrameError::too_deep:
        return "nested too deeply";
    case FrameError::too_costly:
        return "too many data items for its memory";
    case FrameError::not_a_map:
        return "not a map";
    }
    return "unknown error";
}

FrameCheck check_cbor(std::span<const std::uint8_t> bytes) {
    std::array<std::uint64_t, max_nesting> left{}; // remaining items of each open array or map
    std::size_t depth = 0;
    std::size_t position = 0;
    std::size_t memory = 0;
    do {
        Head head;
        if (!read_head(bytes, position, head)) return {FrameError::malformed};
        memory += item_memory;
        const std::uint64_t rest = bytes.size() - position;
        std::uint64_t children = 0;
        switch (head.major) {
        case 0:
            break;
        case 1:
            if (head.number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
                return {FrameError::malformed};
            break;
        case 2:
        case 3:
            if (head.number > rest) return {FrameError::malformed};
            position += static_cast<std::size_t>(head.number);
            memory += static_cast<std::size_t>(head.number);
            break;
        case 4:
        case 5:
            // Every item takes at least one byte. So the number is limited before it is doubled.
            if (head.number > rest) return {FrameError::malformed};
            children = head.major == 5 ? head.number * 2 : head.number;
            break;
        case 7:
            // false, true, null and the three widths of floating point
            if (head.info < 20 || (head.info > 22 && head.info < 25)) return {FrameError::malformed};
            break;
        default:
            return {FrameError::malformed}; // a tag
        }
        if (memory > max_frame_memory) return {FrameError::too_costly};
        if (children != 0) {
            if (depth == max_nesting) return {FrameError::too_deep};
            left[depth++] = children;
            continue;
        }
        while (depth != 0 && --left[depth - 1] == 0)
            --depth;
    } while (depth != 0);
    if (position != bytes.size()) return {FrameError::malformed};
    return {FrameError::none, memory};
}

std::vector<std::uint8_t> encode_frame(const nlohmann::json& map) {
    std::vector<std::uint8_t> frame(length_size);
    nlohmann::json::to_cbor(map, frame);
    if (frame.size() - length_size > max_frame_size) return {};
    if (check_cbor(std::span(frame).subspan(length_size)).error != FrameError::none) return {};
    write_length(frame);
    return frame;
}

std::vector<std::vector<std::uint8_t>> encode_list(std::uint32_t id, const std::vector<nlohmann::json>& items) {
    // Size and memory of the map around the items.
    constexpr std::size_t head_size = 64;
    constexpr std::size_t head_memory = 16 * item_memory;
    std::vector<std::vector<std::uint8_t>> frames;
    std::vector<std::uint8_t> part;
    std::vector<std::uint8_t> one;
    std::size_t count = 0;
    std::size_t memory = 0;
    for (const nlohmann::json& item : items) {
        one.clear();
        nlohmann::json::to_cbor(item, one);
        const FrameCheck check = check_cbor(one);
        if (check.error != FrameError::none || one.size() > max_frame_size - head_size ||
            check.memory > max_frame_memory - head_memory)
            return {};
        if (count != 0 && (count == list_part_items || part.size() + one.size() > list_part_size ||
                           memory + check.memory > list_part_memory)) {
            frames.push_back(encode_part(id, true, count, part));
            part.clear();
            count = 0;
            memory = 0;
        }
        part.insert(part.end(), one.begin(), one.end());
        memory += check.memory;
        ++count;
    }
    frames.push_back(encode_part(id, false, count, part));
    return frames;
}

void FrameReader::append(std::span<const std::uint8_t> bytes) {
    if (error_ != FrameError::none) return;
    if (begin_ != 0) {
        bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(begin_));
        begin_ = 0;
    }
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

bool FrameReader::next(nlohmann::json& map, std::size_t& size) {
    if (error_ != FrameError::none || bytes_.size() - begin_ < length_size) return false;
    std::uint32_t length = 0;
    for (std::size_t i = 0; i < length_size; ++i)
        length |= static_cast<std::uint32_t>(bytes_[begin_ + i]) << (8 * i);
    if (length == 0 || length > max_frame_size) {
        error_ = length == 0 ? FrameError::empty : FrameError::oversize;
        return false;
    }
    if (bytes_.size() - begin_ - length_size < length) return false;
    const std::span<const std::uint8_t> content(bytes_.data() + begin_ + length_size, length);
    error_ = check_cbor(content).error;
    if (error_ != FrameError::none) return false;
    map = nlohmann::json::from_cbor(content.begin(), content.end(), true, false);
    if (map.is_discarded())
        error_ = FrameError::malformed;
    else if (!map.is_object())
        error_ = FrameError::not_a_map;
    if (error_ != FrameError::none) return false;
    begin_ += length_size + length;
    size = length;
    return true;
}

} // namespace zo_link
