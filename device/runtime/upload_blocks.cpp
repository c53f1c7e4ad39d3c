#include "device/code/result_codes.h"
#include "device/runtime/detail/upload.h"
#include "device/runtime/detail/upload_entries.h"
#include "device/type/indirection.h"

#include <utility>
#include <vector>

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::ExtensionResultStream;
using ZoHmiSrv::MutexLock;

namespace {

ExtensionResult malformed(const RuntimeConfig& config, const char* kind, std::size_t index) {
    return ExtensionResultStream(HMI_FDX_E_UPLOAD_DATA, config.runtime_revision().name())
           << kind << " entry " << index << " is malformed";
}

/// Returns the bytes of the next entry; entries never overlap. Fails if the entry is shorter than its head or longer
/// than the rest.
EntryReader next_entry(EntryReader& block, std::size_t head) {
    return block.entry(head);
}

/// Stores the pointer size. The upload of a small controller has pointers of an unusual size.
void note_pointer_size(RuntimeConfig& config, const std::string& type_name, std::int64_t size) {
    if ((size == 2 || size == 4 || size == 8) && is_indirection_strict(type_name))
        config.set_pointer_size(static_cast<int>(size));
}

} // namespace

ExtensionResult add_symbol_block(RuntimeConfig& config, std::span<const unsigned char> block, std::size_t& count) {
    count = 0;
    for (EntryReader rest(block); !rest.at_end(); ++count) {
        const EntryReader entry = next_entry(rest, symbol_head_size);
        if (entry.failed() || !is_well_formed_symbol_entry(entry)) return malformed(config, "Symbol", count);
    }
    const int code_page = config.code_page();
    const MutexLock lock(config.symbol_mutex());
    config.symbols().reserve(config.symbols().size() + count);
    for (EntryReader rest(block); !rest.at_end();) {
        auto symbol = read_symbol_entry(next_entry(rest, symbol_head_size), code_page, false);
        if (!symbol || !is_usable(*symbol)) continue;
        note_pointer_size(config, symbol->info.datatype_without_dialect(), symbol->info.size);
        config.symbols().add(std::move(symbol->path), std::make_shared<const SymbolInfo>(std::move(symbol->info)));
    }
    return {};
}

ExtensionResult add_datatype_block(RuntimeConfig& config, std::span<const unsigned char> block, std::size_t& count) {
    count = 0;
    const int code_page = config.code_page();
    std::vector<DatatypeDescription> types;
    for (EntryReader rest(block); !rest.at_end(); ++count) {
        const EntryReader entry = next_entry(rest, datatype_head_size);
        auto type = entry.failed() ? std::nullopt : read_datatype_entry(entry, code_page);
        if (!type) return malformed(config, "Datatype", count);
        types.push_back(*std::move(type));
    }
    const MutexLock lock(config.datatype_mutex());
    for (DatatypeDescription& type : types) {
        if (type.item_name.empty()) continue;
        note_pointer_size(config, type.item_name, type.size);
        for (const SubItem& member : type.subitems)
            note_pointer_size(config, member.type_name(), member.size());
        std::string name = type.item_name;
        config.datatypes().add(std::move(name), std::make_shared<const Datatype>(std::move(type)));
    }
    return {};
}

} // namespace ZoHmiFdx
