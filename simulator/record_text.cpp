#include "simulator/record_text.h"

#include <nlohmann/json.hpp>

#include <charconv>

namespace zo_sim {

nlohmann::json record_to_text_json(const zo_link::EventRecord& record) {
    nlohmann::json map = zo_link::event_to_json(record);
    if (!record.block.empty()) map["block"] = to_hex(record.block);
    return map;
}

bool record_from_text_json(nlohmann::json map, zo_link::EventRecord& record) {
    if (!map.is_object()) return false;
    if (const auto block = map.find("block"); block != map.end()) {
        if (!block->is_string()) return false;
        std::optional<std::vector<std::uint8_t>> bytes = from_hex(block->get_ref<const std::string&>());
        if (!bytes) return false;
        *block = nlohmann::json::binary(std::move(*bytes));
    }
    return zo_link::event_from_json(map, false, record);
}

std::string to_hex(const std::vector<std::uint8_t>& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> from_hex(std::string_view digits) {
    if (digits.size() % 2 != 0) return std::nullopt;
    std::vector<std::uint8_t> bytes;
    for (; !digits.empty(); digits.remove_prefix(2)) {
        std::uint8_t byte = 0;
        const char* end = digits.data() + 2;
        if (std::from_chars(digits.data(), end, byte, 16).ptr != end) return std::nullopt;
        bytes.push_back(byte);
    }
    return bytes;
}

} // namespace zo_sim
