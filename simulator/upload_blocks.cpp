#include "simulator/upload_blocks.h"

#include <concepts>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace zo_sim {

namespace {

enum EntryFlags : std::uint32_t {
    has_guid = 0x0008,
    size_in_bits = 0x0020,
    has_attributes = 0x1000,
    has_enumerators = 0x2000,
    has_methods = 0x4000,
    has_properties = 0x8000,
};

template <std::integral T>
void put(UploadBytes& bytes, T value) {
    using Unsigned = std::make_unsigned_t<T>;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        bytes.push_back(static_cast<unsigned char>(static_cast<std::uint64_t>(static_cast<Unsigned>(value)) >> 8 * i));
}

template <std::integral T>
void put_length(UploadBytes& bytes, std::size_t length) {
    if (length > static_cast<std::size_t>(std::numeric_limits<T>::max()))
        throw std::length_error("upload entry: a text or list of " + std::to_string(length) + " is too long");
    put(bytes, static_cast<T>(length));
}

void put_text(UploadBytes& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}

void put_texts(UploadBytes& bytes, std::initializer_list<std::string_view> texts) {
    for (const std::string_view text : texts)
        put_length<std::uint16_t>(bytes, text.size());
    for (const std::string_view text : texts)
        put_text(bytes, text);
}

void put_attributes(UploadBytes& bytes, const UploadAttributes& attributes) {
    put_length<std::int16_t>(bytes, attributes.size());
    for (const auto& [key, value] : attributes) {
        put_length<std::uint8_t>(bytes, key.size());
        put_length<std::uint8_t>(bytes, value.size());
        put_text(bytes, key);
        put_text(bytes, value);
    }
}

/// The length of the entry that began at `start`.
void patch_length(UploadBytes& bytes, std::size_t start) {
    UploadBytes length;
    put_length<std::uint32_t>(length, bytes.size() - start);
    std::copy(length.begin(), length.end(), bytes.begin() + static_cast<std::ptrdiff_t>(start));
}

void put_methods(UploadBytes& bytes, const std::vector<UploadMethod>& methods) {
    put_length<std::uint16_t>(bytes, methods.size());
    for (const UploadMethod& method : methods) {
        put(bytes, method.flags);
        put_texts(bytes, {method.name, method.returns, method.comment});
        put_length<std::uint16_t>(bytes, method.parameters.size());
        for (const UploadParameter& parameter : method.parameters) {
            put(bytes, parameter.flags);
            put(bytes, parameter.size);
            put_texts(bytes, {parameter.name, parameter.type, parameter.comment});
        }
    }
}

std::uint32_t entry_flags(const UploadEntry& entry) {
    return (entry.guid ? has_guid : 0u) | (entry.counts_bits ? size_in_bits : 0u) |
           (entry.attributes.empty() ? 0u : has_attributes) | (entry.enumerators.empty() ? 0u : has_enumerators) |
           (entry.methods.empty() ? 0u : has_methods) | (entry.properties.empty() ? 0u : has_properties);
}

} // namespace

void append_symbol(UploadBytes& block, const UploadSymbol& symbol) {
    const std::size_t start = block.size();
    for (const std::uint32_t number :
         {0u, symbol.group, symbol.offset, symbol.size, symbol.code,
          (symbol.guid ? has_guid : 0u) | (symbol.attributes.empty() ? 0u : has_attributes)})
        put(block, number);
    put_texts(block, {symbol.name, symbol.type, symbol.comment});
    if (symbol.guid) block.insert(block.end(), symbol.guid->begin(), symbol.guid->end());
    if (!symbol.attributes.empty()) put_attributes(block, symbol.attributes);
    patch_length(block, start);
}

void append_datatype(UploadBytes& block, const UploadEntry& type) {
    const std::size_t start = block.size();
    for (const std::uint32_t number : {0u, type.type_flags, type.offset, type.code, type.size, entry_flags(type)})
        put(block, number);
    for (const std::string* const text : {&type.name, &type.type, &type.comment})
        put_length<std::uint16_t>(block, text->size());
    put_length<std::uint16_t>(block, type.dimensions.size());
    put_length<std::uint16_t>(block, type.members.size());
    for (const std::string* const text : {&type.name, &type.type, &type.comment})
        put_text(block, *text);
    for (const UploadDimension& dimension : type.dimensions) {
        put(block, dimension.lower_bound);
        put(block, dimension.count);
    }
    for (const UploadEntry& member : type.members)
        append_datatype(block, member);
    if (type.guid) block.insert(block.end(), type.guid->begin(), type.guid->end());
    if (!type.attributes.empty()) put_attributes(block, type.attributes);
    if (!type.enumerators.empty()) {
        put_length<std::uint16_t>(block, type.enumerators.size());
        for (const auto& [name, value] : type.enumerators) {
            put_length<std::uint8_t>(block, name.size());
            put_text(block, name);
            put(block, value);
        }
    }
    if (!type.methods.empty()) put_methods(block, type.methods);
    if (!type.properties.empty()) {
        put_length<std::uint16_t>(block, type.properties.size());
        for (const UploadProperty& property : type.properties) {
            put(block, property.marks);
            append_datatype(block, property.item);
        }
    }
    patch_length(block, start);
}

UploadBytes upload_info(const UploadBytes& symbols, std::size_t symbol_count, const UploadBytes& datatypes,
                        std::size_t datatype_count, std::uint32_t revision, std::uint32_t code_page) {
    UploadBytes info;
    for (const std::size_t number : {symbols.size(), datatypes.size(), symbol_count, datatype_count,
                                     std::size_t{revision}, std::size_t{code_page}})
        put_length<std::uint32_t>(info, number);
    return info;
}

} // namespace zo_sim
