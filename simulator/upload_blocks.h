#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Writes the blocks in which a controller uploads its symbols and types. Texts are bytes in the controller's code
/// page; numbers are little-endian. Only the length of each field is checked, because tests need malformed entries too.
namespace zo_sim {

using UploadBytes = std::vector<unsigned char>;
using UploadGuid = std::array<unsigned char, 16>;
using UploadAttributes = std::vector<std::pair<std::string, std::string>>;

struct UploadSymbol {
    std::string name;
    std::string type;
    std::uint32_t size = 0; ///< bytes
    std::uint32_t code = 0; ///< of the type
    std::uint32_t group = 0;
    std::uint32_t offset = 0;
    std::string comment;
    UploadAttributes attributes;
    std::optional<UploadGuid> guid;
};

struct UploadDimension {
    std::int32_t lower_bound = 0;
    std::uint32_t count = 0;
};

struct UploadParameter {
    std::string name;
    std::string type;
    std::uint32_t flags = 1; ///< 1 in, 2 out, 3 both
    std::int32_t size = 0;   ///< bytes
    std::string comment;
};

struct UploadMethod {
    std::string name;
    std::string returns;
    std::vector<UploadParameter> parameters;
    std::uint8_t flags = 0;
    std::string comment;
};

struct UploadProperty;

/// A type or a member. Members have no members of their own.
struct UploadEntry {
    std::string name;
    std::string type;             ///< base, element or target
    std::uint32_t size = 0;       ///< bytes or bits
    std::uint32_t code = 0x41;    ///< of the type
    std::uint32_t offset = 0;     ///< in the parent, bytes or bits
    bool counts_bits = false;     ///< size and offset count bits
    std::uint32_t type_flags = 0; ///< bits 3, 8, 9 and 16, for the description
    std::vector<UploadDimension> dimensions;
    std::vector<UploadEntry> members;
    UploadAttributes attributes;
    std::vector<std::pair<std::string, std::int64_t>> enumerators;
    std::vector<UploadMethod> methods;
    std::vector<UploadProperty> properties;
    std::string comment;
    std::optional<UploadGuid> guid;
};

struct UploadProperty {
    UploadEntry item;
    std::uint8_t marks = 1; ///< 1 getter, 2 setter
};

/// Append an entry. Throw `std::length_error` if a text or list is too long for its field.
void append_symbol(UploadBytes& block, const UploadSymbol& symbol);
void append_datatype(UploadBytes& block, const UploadEntry& type);

/// Returns the answer that announces both blocks.
[[nodiscard]] UploadBytes upload_info(const UploadBytes& symbols, std::size_t symbol_count,
                                      const UploadBytes& datatypes, std::size_t datatype_count, std::uint32_t revision,
                                      std::uint32_t code_page = 0);

} // namespace zo_sim
