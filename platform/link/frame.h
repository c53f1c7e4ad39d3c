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
    oversize,   ///< the length field is above max_frame_size
    empty,      ///< the length field is 0
    malformed,  ///< not the one form of CBOR that the link uses, or bytes missing or left over
    too_deep,   ///< nested deeper than max_nesting
    too_costly, ///< needs more memory than max_frame_memory
    not_a_map,
};

/// Returns a few plain words for logs. [any thread]
const char* frame_error_text(FrameError error);

/// Result of a check: the error, and without one the memory that the item needs once it is built.
struct FrameCheck {
    FrameError error = FrameError::none;
    std::size_t memory = 0;
};

/// Walks CBOR without building anything and without recursion: definite lengths only, no tags, depth and memory
/// limited, nothing after the one item. The library's parser recurses, so nothing reaches it unchecked. [any thread]
FrameCheck check_cbor(std::span<const std::uint8_t> bytes);

/// Returns length and CBOR of one map; empty if a receiver would refuse the frame. [any thread]
std::vector<std::uint8_t> encode_frame(const nlohmann::json& map);

/// Returns the frames of the answer that carries `items` as its list, in as many parts as needed. Empty if one item
/// alone is too large for a frame. [any thread]
std::vector<std::vector<std::uint8_t>> encode_list(std::uint32_t id, const std::vector<nlohmann::json>& items);

/// Cuts a byte stream into frames. The first error stays. [one thread at a time]
class FrameReader {
public:
    /// Appends any number of bytes, split anywhere.
    void append(std::span<const std::uint8_t> bytes);

    /// Reads the next complete frame; false if there is none. `size` gets its length without the length field.
    bool next(nlohmann::json& map, std::size_t& size);

    FrameError error() const { return error_; }

private:
    std::vector<std::uint8_t> bytes_;
    std::size_t begin_ = 0;
    FrameError error_ = FrameError::none;
};

} // namespace zo_link
