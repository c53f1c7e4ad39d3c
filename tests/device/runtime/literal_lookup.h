#pragma once

#include "device/runtime/runtime_config.h"
#include "device/runtime/state.h"
#include "device/type/dialect.h"

#include <string>
#include <vector>

// The lookup tables as four separate trees, built and walked step by step.
namespace literal {

using namespace ZoHmiFdx;

constexpr LookupFlag all_flags[] = {LookupFlag::ReadOnly, LookupFlag::ShownRecursively, LookupFlag::NotShown,
                                    LookupFlag::Hidden};
constexpr unsigned max_chain = 64;

inline bool value_of(LookupFlag flag, const Attributes& attributes) {
    switch (flag) {
    case LookupFlag::ReadOnly:
        return attributes.has(AttributesFlags::ReadOnly);
    case LookupFlag::ShownRecursively:
        return attributes.has(AttributesFlags::ShowRecursively);
    case LookupFlag::NotShown:
        return !attributes.has(AttributesFlags::Show) && !attributes.has(AttributesFlags::ShowRecursively) &&
               !attributes.has(AttributesFlags::Hide);
    default:
        return attributes.has(AttributesFlags::Hide);
    }
}

inline std::vector<std::string> parts_of(const std::string& path) {
    std::vector<std::string> parts{""};
    for (const char c : path) {
        if (c == '.' || c == '#')
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

inline LookupTableEntry& enter(LookupTableEntry& entry, LookupFlag flag, const Attributes& attributes,
                               const std::string& type) {
    entry.value = value_of(flag, attributes);
    entry.has_record = true;
    entry.next_type = remove_dialect_suffix_copy(type);
    return entry;
}

inline LookupTable build(const State& state, const std::shared_ptr<RuntimeConfig>& config, LookupFlag flag) {
    LookupTable table;
    for (const auto& [name, type] : config->datatypes().snapshot()) {
        if (name.empty()) continue;
        Attributes attributes = type->attributes();
        std::string next;
        if (type->is_alias_of_alias() || type->is_indirection_strict() || type->is_alias_indirection()) {
            const auto [resolved, passed] = state.simple_resolve(config, *type);
            attributes.merge_keep_duplicates(passed);
            if (!empty_or_only_dialect_suffix(resolved)) next = resolved;
        } else if (type->array_info().dimensions() != 0) {
            next = type->type_name().empty() ? type->array_info().element_type_name() : type->type_name();
        } else if (type->is_struct_alias()) {
            next = type->type_name();
        }
        LookupTableEntry& root = enter(table.types.children[name], flag, attributes, next);
        for (const SubItem& item : type->subitems())
            enter(root.children[item.name()], flag, item.attributes(), item.type_name());
        for (const PropertyItem& item : type->property_items())
            enter(root.children[item.name()], flag, item.attributes(), item.type_name());
        for (const MethodItem& item : type->method_items())
            enter(root.children[item.name()], flag, {}, item.return_type_name());
    }
    for (const auto& [path, symbol] : config->symbols().snapshot()) {
        LookupTableEntry* entry = &table.symbols;
        for (const std::string& part : parts_of(simplify(sanitize(path)).str()))
            entry = &entry->children[part];
        enter(*entry, flag, symbol->attributes, symbol->datatype_without_dialect());
    }
    return table;
}

inline std::vector<const LookupTableEntry*> chain_of(const LookupTable& table, const LookupTableEntry* entry) {
    std::vector<const LookupTableEntry*> chain{entry};
    while (chain.size() <= max_chain) {
        const auto next = table.types.children.find(chain.back()->next_type);
        if (chain.back()->next_type.empty() || next == table.types.children.end()) break;
        chain.push_back(&next->second);
    }
    return chain;
}

inline bool is_in(const LookupTable& table, LookupFlag flag, const std::string& lookup_path) {
    if (lookup_path.empty()) return false;
    std::vector<const LookupTableEntry*> current{&table.symbols};
    for (const std::string& part : parts_of(lookup_path)) {
        std::vector<const LookupTableEntry*> hits;
        for (const LookupTableEntry* const start : current)
            for (const LookupTableEntry* const entry : chain_of(table, start))
                if (const auto child = entry->children.find(part); child != entry->children.end())
                    hits.push_back(&child->second);
        if (hits.empty()) return false;
        bool any = false;
        bool all = true;
        bool collected = false;
        for (const LookupTableEntry* const hit : hits)
            for (const LookupTableEntry* const entry : chain_of(table, hit)) {
                if (!entry->has_record) continue;
                collected = true;
                any = any || entry->value;
                all = all && entry->value;
            }
        if (flag == LookupFlag::NotShown ? collected && all : any) return true;
        current = hits;
    }
    return false;
}

} // namespace literal
