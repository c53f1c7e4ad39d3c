#include "device/runtime/detail/upload_entries.h"

#include "device/path/symbol_entry.h"
#include "device/runtime/detail/entry_texts.h"
#include "device/type/dialect.h"

#include <utility>

namespace ZoHmiFdx {

namespace {

struct SymbolHead {
    std::uint32_t group;
    std::uint32_t offset;
    std::uint32_t size;
    std::uint32_t code;
    std::uint16_t flags;
    std::string_view name;
    std::string_view type;
    std::string_view comment;
};

SymbolHead read_head(EntryReader& reader) {
    SymbolHead head{};
    reader.skip(sizeof(std::uint32_t));
    head.group = reader.number<std::uint32_t>();
    head.offset = reader.number<std::uint32_t>();
    head.size = reader.number<std::uint32_t>();
    head.code = reader.number<std::uint32_t>();
    head.flags = reader.number<std::uint16_t>();
    reader.skip(sizeof(std::uint16_t));
    const auto name_length = reader.number<std::uint16_t>();
    const auto type_length = reader.number<std::uint16_t>();
    const auto comment_length = reader.number<std::uint16_t>();
    head.name = reader.text(name_length);
    head.type = reader.text(type_length);
    head.comment = reader.text(comment_length);
    return head;
}

} // namespace

std::optional<SymbolEntry> read_symbol_entry(EntryReader reader, int code_page, bool may_be_cut) {
    const SymbolHead head = read_head(reader);
    if (reader.failed() && !(may_be_cut && !head.name.empty())) return std::nullopt;
    SymbolEntry symbol;
    symbol.path.str() = entry_text(head.name, code_page);
    symbol.info.index_group = head.group;
    symbol.info.index_offset = head.offset;
    symbol.info.size = head.size;
    symbol.info.data_type = head.code;
    symbol.info.set_datatype_without_dialect(remove_dialect_suffix_copy(entry_text(head.type, code_page)));
    symbol.info.comment = entry_text(head.comment, code_page);
    symbol.announces_attributes = (head.flags & symbol_entry_has_attributes) != 0;
    if ((head.flags & symbol_entry_has_type_guid) != 0) reader.skip(type_guid_size);
    if (symbol.announces_attributes) read_attributes(reader, code_page, symbol.info.attributes);
    symbol.complete = !reader.failed();
    if (!symbol.complete && !may_be_cut) return std::nullopt;
    return symbol;
}

bool is_well_formed_symbol_entry(EntryReader reader) {
    const SymbolHead head = read_head(reader);
    if ((head.flags & symbol_entry_has_type_guid) != 0) reader.skip(type_guid_size);
    if ((head.flags & symbol_entry_has_attributes) != 0) skip_attributes(reader);
    return !reader.failed();
}

bool is_usable(const SymbolEntry& symbol) {
    return !symbol.path.empty() && symbol.path.str().find_first_of("[],^`") == std::string::npos &&
           !symbol.info.datatype_without_dialect().empty();
}

} // namespace ZoHmiFdx
