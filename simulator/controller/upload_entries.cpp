#include "simulator/controller/upload_entries.h"

#include "simulator/upload_blocks.h"

#include <cstring>

namespace zo_sim {

namespace {

constexpr std::uint32_t group_image = 0x4020;
constexpr std::uint32_t union_flag = 1u << 9;
constexpr std::uint32_t bit_array_flag = 1u << 16;

/// Converts the plant's names to the code page of the controller.
class Writer {
public:
    explicit Writer(const Plant& plant) : plant_(plant) {}

    UploadSymbol symbol(const Item& item, const std::string& name, const Type& type, std::uint32_t offset) const {
        UploadSymbol entry;
        entry.name = text(name);
        entry.type = text(type.name);
        entry.size = item.numbers.size.value_or(type.size);
        entry.code = item.numbers.code.value_or(type.code);
        entry.group = group_image;
        entry.offset = offset;
        entry.comment = text(item.comment);
        entry.attributes = attributes(item.attributes);
        entry.guid = guid(item.numbers);
        return entry;
    }

    UploadEntry type(const Type& type) const {
        UploadEntry entry;
        entry.name = text(type.name);
        if (type.base) entry.type = text(type.base->name);
        if (!type.target.empty()) entry.type = text(type.target);
        entry.code = type.code;
        entry.size = type.size;
        if (type.is_union) entry.type_flags |= union_flag;
        if (type.kind == TypeKind::bit_array) {
            entry.type_flags |= bit_array_flag;
            entry.counts_bits = true;
            entry.size = static_cast<std::uint32_t>(type.count());
        }
        override_numbers(entry, type.numbers);
        for (const Dimension& dimension : type.dimensions)
            entry.dimensions.push_back({dimension.lower, dimension.count});
        for (const Item& item : type.members)
            entry.members.push_back(member(item));
        entry.attributes = attributes(type.attributes);
        for (const auto& [name, value] : type.enumerators)
            entry.enumerators.emplace_back(text(name), value);
        for (const Method& item : type.methods)
            entry.methods.push_back(method(item));
        for (const Property& item : type.properties)
            entry.properties.push_back(
                {member(item.item), static_cast<std::uint8_t>((item.getter ? 1 : 0) | (item.setter ? 2 : 0))});
        entry.comment = text(type.comment);
        return entry;
    }

private:
    std::string text(const std::string& utf8) const { return plant_.encoded(utf8); }

    UploadAttributes attributes(const AttributeList& list) const {
        UploadAttributes result;
        for (const auto& [key, value] : list)
            result.emplace_back(text(key), text(value));
        return result;
    }

    static std::optional<UploadGuid> guid(const EntryNumbers& numbers) {
        if (!numbers.guid) return std::nullopt;
        UploadGuid bytes;
        static_assert(sizeof bytes == sizeof *numbers.guid);
        std::memcpy(bytes.data(), &*numbers.guid, sizeof bytes);
        return bytes;
    }

    static void override_numbers(UploadEntry& entry, const EntryNumbers& numbers) {
        entry.size = numbers.size.value_or(entry.size);
        entry.code = numbers.code.value_or(entry.code);
        entry.type_flags = numbers.flags.value_or(entry.type_flags);
        entry.guid = guid(numbers);
    }

    UploadEntry member(const Item& item) const {
        UploadEntry entry;
        entry.name = text(item.name);
        entry.type = text(item.type->name);
        entry.code = item.type->code;
        entry.size = item.type->size;
        entry.offset = item.offset;
        if (item.bit >= 0) {
            entry.counts_bits = true;
            entry.size = 1;
            entry.offset = item.offset * 8 + static_cast<std::uint32_t>(item.bit);
        }
        override_numbers(entry, item.numbers);
        entry.attributes = attributes(item.attributes);
        entry.comment = text(item.comment);
        return entry;
    }

    UploadMethod method(const Method& item) const {
        UploadMethod result;
        result.name = text(item.name);
        result.returns = text(item.return_type);
        result.comment = text(item.comment);
        result.flags = item.flags;
        for (const Parameter& parameter : item.parameters)
            result.parameters.push_back({text(parameter.name), text(parameter.type), parameter.flags,
                                         static_cast<std::int32_t>(parameter.size), text(parameter.comment)});
        return result;
    }

    const Plant& plant_;
};

} // namespace

UploadBlocks make_upload_blocks(const Plant& plant) {
    const Writer writer(plant);
    UploadBlocks blocks;
    for (const Item& symbol : plant.symbols()) {
        // The true entry is also written: it answers requests by name, and its fields must be large enough for it.
        const std::size_t start = blocks.symbols.size();
        append_symbol(blocks.symbols, writer.symbol(symbol, symbol.name, *symbol.type, symbol.offset));
        if (!symbol.raw) continue;
        blocks.symbols.resize(start);
        blocks.symbols.insert(blocks.symbols.end(), symbol.raw->begin(), symbol.raw->end());
    }
    for (const Type* type : plant.types()) {
        if (type->raw)
            blocks.datatypes.insert(blocks.datatypes.end(), type->raw->begin(), type->raw->end());
        else
            append_datatype(blocks.datatypes, writer.type(*type));
    }
    return blocks;
}

Bytes make_symbol_entry(const Plant& plant, const Place& place, const std::string& path) {
    static const Item nameless;
    Bytes entry;
    append_symbol(entry, Writer(plant).symbol(place.item ? *place.item : nameless, path, *place.type, place.offset));
    return entry;
}

} // namespace zo_sim
