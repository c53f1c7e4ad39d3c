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
    malformed,  ///< not the form of CBOR that the link uses, or missing or extra bytes
    too_deep,   ///< nested deeper than max_nesting
    too_costly, ///< needs more memory than max_frame_memory
    not_a_map,
};

/// Returns a short description for logs. [any thread]
const char* frame_error_text(FrameError error);

/// The result of a check: the error; without an error, the memory of the parsed item.
struct FrameCheck {
    FrameError error = FrameError::none;
    std::size_t memory = 0;
};

/// Checks CBOR without recursion and without parsing it into objects. Lengths are definite, tags are not allowed, and
/// nothing follows the one item. Depth and memory are limited. The library's parser recurses, so all input is checked
/// first. [any thread]
FrameCheck check_cbor(std::span<const std::uint8_t> bytes);

/// Returns the length and the CBOR of one map. Empty if a receiver would refuse the frame. [any thread]
std::vector<std::uint8_t> encode_frame(const nlohmann::json& map);

/// Returns the frames of an answer with the list `items`, in as many parts as needed. Empty if one item alone is too
/// large for a frame. [any thread]
std::vector<std::vector<std::uint8_t>> encode_list(std::uint32_t id, const std::vector<nlohmann::json>& items);

/// Cuts a byte stream into frames. After the first error, the error stays. [one thread at a time]
class FrameReader {
public:
    /// Appends any number of bytes, split at any point.
    void append(std::span<const std::uint8_t> bytes);

    /// Reads the next complete frame. Returns false if there is none. `size` is its length without the length field.
    bool next(nlohmann::json& map, std::size_t& size);

    FrameError error() const { return error_; }

private:
    std::vector<std::uint8_t> bytes_;
    std::size_t begin_ = 0;
    FrameError error_ = FrameError::none;
};

} // namespace zo_link
