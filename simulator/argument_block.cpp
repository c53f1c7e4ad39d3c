#include "simulator/argument_block.h"

#include <bit>

namespace zo_sim {

namespace {

constexpr std::size_t gap_size = 3;

void put_number(std::vector<std::uint8_t>& out, std::uint64_t bits, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<std::uint8_t>(bits >> (8 * i)));
}

void put_value(std::vector<std::uint8_t>& out, const Argument& argument) {
    if (const auto* number = std::get_if<std::int32_t>(&argument)) {
        put_number(out, static_cast<std::uint32_t>(*number), 4);
    } else if (const auto* real = std::get_if<double>(&argument)) {
        put_number(out, std::bit_cast<std::uint64_t>(*real), 8);
    } else if (const auto* text = std::get_if<std::string>(&argument)) {
        put_number(out, text->size(), 4);
        out.insert(out.end(), text->begin(), text->end());
    } else {
        out.push_back(std::get<bool>(argument) ? 1 : 0);
    }
}

/// Takes `count` bytes from the front; false if there are fewer.
bool take(std::span<const std::uint8_t>& bytes, std::size_t count, std::span<const std::uint8_t>& out) {
    if (bytes.size() < count) return false;
    out = bytes.first(count);
    bytes = bytes.subspan(count);
    return true;
}

bool take_number(std::span<const std::uint8_t>& bytes, std::size_t count, std::uint64_t& bits) {
    std::span<const std::uint8_t> raw;
    if (!take(bytes, count, raw)) return false;
    bits = 0;
    for (std::size_t i = 0; i < count; ++i)
        bits |= std::uint64_t{raw[i]} << (8 * i);
    return true;
}

std::optional<Argument> take_value(std::span<const std::uint8_t>& data, std::uint8_t type) {
    std::uint64_t bits = 0;
    switch (type) {
    case 1:
        if (!take_number(data, 4, bits)) return std::nullopt;
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
    case 2:
        if (!take_number(data, 8, bits)) return std::nullopt;
        return std::bit_cast<double>(bits);
    case 3: {
        std::span<const std::uint8_t> text;
        if (!take_number(data, 4, bits) || !take(data, bits, text)) return std::nullopt;
        return std::string(text.begin(), text.end());
    }
    case 4:
        if (!take_number(data, 1, bits)) return std::nullopt;
        return bits != 0;
    default:
        return std::nullopt;
    }
}

} // namespace

ArgumentBlock pack_arguments(std::span<const Argument> arguments, BlockLayout layout) {
    ArgumentBlock block;
    if (arguments.empty()) return block;
    std::vector<std::uint8_t> types;
    std::vector<std::uint8_t> data;
    for (const Argument& argument : arguments) {
        types.push_back(static_cast<std::uint8_t>(argument.index() + 1));
        put_value(data, argument);
    }
    // The sum of the two sizes must be the size of the block, so the gap belongs to one of the ranges.
    if (layout == BlockLayout::data_first) data.insert(data.end(), gap_size, 0xee);
    const auto types_size = static_cast<std::uint32_t>(types.size());
    const auto data_size = static_cast<std::uint32_t>(data.size());
    const bool types_first = layout == BlockLayout::types_first;
    block.descriptor = {types_size, types_first ? 0 : data_size, types_size, types_first ? types_size : 0, data_size};
    block.bytes = types_first ? types : data;
    const std::vector<std::uint8_t>& second = types_first ? data : types;
    block.bytes.insert(block.bytes.end(), second.begin(), second.end());
    return block;
}

std::optional<std::vector<Argument>> unpack_arguments(const std::array<std::uint32_t, 5>& descriptor,
                                                      std::span<const std::uint8_t> bytes) {
    const auto [count, types_offset, types_size, data_offset, data_size] = descriptor;
    std::vector<Argument> arguments;
    if (count == 0) return arguments;
    if (std::uint64_t{types_offset} + types_size > bytes.size() || count > types_size) return std::nullopt;
    if (std::uint64_t{data_offset} + data_size > bytes.size()) return std::nullopt;
    const std::span<const std::uint8_t> types = bytes.subspan(types_offset, count);
    std::span<const std::uint8_t> data = bytes.subspan(data_offset, data_size);
    for (const std::uint8_t type : types) {
        std::optional<Argument> argument = take_value(data, type);
        if (!argument) return std::nullopt;
        arguments.push_back(std::move(*argument));
    }
    return arguments;
}

} // namespace zo_sim
