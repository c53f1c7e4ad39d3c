#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace zo_sim {

/// An argument of an event's text. The order of the alternatives defines the type codes 1 to 4.
using Argument = std::variant<std::int32_t, double, std::string, bool>;

enum class BlockLayout : std::uint8_t {
    types_first, // type codes, then values
    data_first,  // values, a gap that counts as data, type codes
};

struct ArgumentBlock {
    // Number of arguments, types offset, types size, data offset, data size.
    std::array<std::uint32_t, 5> descriptor{};
    std::vector<std::uint8_t> bytes;
};

/// Returns the argument block of these arguments. [any thread]
ArgumentBlock pack_arguments(std::span<const Argument> arguments, BlockLayout layout);

/// Reads a block of a client. Empty if a range is outside the bytes, a type code is unknown, or values are incomplete.
/// Ignores bytes after the last value. [any thread]
std::optional<std::vector<Argument>> unpack_arguments(const std::array<std::uint32_t, 5>& descriptor,
                                                      std::span<const std::uint8_t> bytes);

} // namespace zo_sim
