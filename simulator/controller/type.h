#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/guid.h"

namespace zo_sim {

using Bytes = std::vector<std::uint8_t>;
using AttributeList = std::vector<std::pair<std::string, std::string>>;

enum class TypeKind : std::uint8_t {
    number, ///< BOOL, integers, REAL, times
    text,
    wide_text,
    bit,
    structure, ///< and unions
    array,
    bit_array,
    pointer,
    reference,
    alias, ///< and subranges
    enumeration,
};

struct Dimension {
    std::int32_t lower = 0;
    std::uint32_t count = 0;
};

/// Numbers that replace the true ones in an upload entry.
struct EntryNumbers {
    std::optional<std::uint32_t> size;
    std::optional<std::uint32_t> code;
    std::optional<std::uint32_t> flags;
    std::optional<GUID> guid;
};

struct Type;

/// A member of a structure, or a symbol. Text is UTF-8.
struct Item {
    std::string name;
    const Type* type = nullptr;
    std::uint32_t offset = 0; ///< bytes, in the structure or in the memory
    int bit = -1;             ///< of a packed bit, in the byte at `offset`
    AttributeList attributes;
    std::string comment;
    EntryNumbers numbers;
    nlohmann::json value;     ///< the initial value; null for zeros
    std::optional<Bytes> raw; ///< replaces the whole entry
};

struct Property {
    Item item;
    bool getter = false;
    bool setter = false;
};

struct Parameter {
    std::string name;
    std::string type;
    std::uint32_t flags = 0; ///< 1 in, 2 out, 3 both
    std::uint32_t size = 0;
    std::string comment;
};

struct Method {
    std::string name;
    std::string return_type;
    std::string comment;
    std::uint8_t flags = 0;
    std::vector<Parameter> parameters;
};

struct Type {
    std::string name;
    TypeKind kind = TypeKind::number;
    std::uint32_t code = 0;
    std::uint32_t size = 0;     ///< bytes of memory
    std::uint32_t align = 1;    ///< bytes
    const Type* base = nullptr; ///< of an alias or enumeration, or an array's element
    std::string target;         ///< of a pointer or reference; searched when it is followed
    std::vector<Dimension> dimensions;
    std::vector<Item> members;
    std::vector<std::pair<std::string, std::int64_t>> enumerators;
    std::vector<Property> properties;
    std::vector<Method> methods;
    AttributeList attributes;
    std::string comment;
    bool is_union = false;
    bool uploaded = false; ///< declared by the scenario, or a used subrange
    EntryNumbers numbers;
    std::optional<Bytes> raw; ///< replaces the whole entry

    /// Returns the type behind aliases and enumerations.
    const Type& plain() const {
        const Type* type = this;
        while (type->kind == TypeKind::alias || type->kind == TypeKind::enumeration)
            type = type->base;
        return *type;
    }
    /// Returns the number of elements of an array.
    std::uint64_t count() const {
        std::uint64_t product = 1;
        for (const Dimension& dimension : dimensions)
            product *= dimension.count;
        return product;
    }
};

} // namespace zo_sim
