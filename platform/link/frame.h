#pragma once

#include "platform/link/protocol.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo_link {

enum class FrameError : std::uint8_t {
    none,
    oversize,       // the length field is above max_frame_size
    empty,          // the length field is 0
    malformed,      // not the one form of CBOR that the link uses, or bytes missing or left over
    too_deep,       // nested deeper than max_nesting
    too_many_items, // more than max_frame_items data items
    not_a_map,
};

// One plain sentence part for logs. [any thread]
const char* frame_error_text(FrameError error);

// Walks CBOR without building anything and without recursion: definite lengths only, no tags, depth and number of
// items limited, nothing after the one item. The library's parser recurses, so nothing reaches it unchecked.
// [any thread]
FrameError check_cbor(std::span<const std::uint8_t> bytes);

// Length and CBOR of one map; empty when it would exceed max_frame_size. [any thread]
std::vector<std::uint8_t> encode_frame(const nlohmann::json& map);

// Frames of the answer that carries `items` as its list: as many parts as it takes. Empty when one item alone would
// exceed max_frame_size. [any thread]
std::vector<std::vector<std::uint8_t>> encode_list(std::uint32_t id, const std::vector<nlohmann::json>& items);

// Cuts a byte stream into frames. After the first error it stays in that error. [one thread at a time]
class FrameReader {
public:
    // Takes over any number of bytes, split anywhere.
    void append(std::span<const std::uint8_t> bytes);

    // The next complete frame, if there is one and no error. `size` gets its length without the length field.
    bool next(nlohmann::json& map, std::size_t& size);

    FrameError error() const { return error_; }

private:
    std::vector<std::uint8_t> bytes_;
    std::size_t begin_ = 0;
    FrameError error_ = FrameError::none;
};

} // namespace zo_link
