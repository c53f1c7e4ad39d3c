#include "device/runtime/upload_info_analyzer.h"

#include "device/runtime/detail/lookup_trie.h"
#include "device/runtime/detail/type_lookup.h"
#include "device/runtime/detail/type_references.h"
#include "device/runtime/state.h"
#include "device/type/dialect.h"

#include <unordered_set>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

using ZoHmiSrv::MutexLock;
using ZoHmiSrv::ValueType;

namespace {

constexpr unsigned max_inference_depth = 64;

std::shared_ptr<const Datatype> empty_record(const std::string& name) {
    DatatypeDescription description;
    description.item_name = name;
    return std::make_shared<const Datatype>(std::move(description));
}

/// Returns whether the type has a value of its own and no parts.
bool is_elementary(const Datatype& type) {
    switch (type.hmi_type()) {
    case ValueType::Null:
    case ValueType::Vector:
    case ValueType::Map:
    case ValueType::Struct:
    case ValueType::Binary:
        return false;
    default:
        return type.count_enum_items() == 0 && !type.is_indirection();
    }
}

bool is_structure(const Datatype& type) {
    return type.hmi_type() == ValueType::Map || type.hmi_type() == ValueType::Struct;
}

bool is_any_alias(const Datatype& type) {
    return type.is_alias() || type.is_alias_of_alias() || type.is_alias_indirection();
}

} // namespace

UploadInfoAnalyzer::UploadInfoAnalyzer(State& state, std::shared_ptr<RuntimeConfig> config)
    : state_(state), config_(std::move(config)) {
}

void UploadInfoAnalyzer::infer_missing_datatypes() {
    RuntimeConfig::Datatypes& types = config_->datatypes();
    std::unordered_set<std::string> names;
    const auto mention = [&names](const std::string& name) { names.insert(remove_dialect_suffix_copy(name)); };
    const MutexLock symbol_lock(config_->symbol_mutex());
    config_->symbols().for_each(
        [&](const UniqueFdxPath&, const auto& symbol) { names.insert(symbol->datatype_without_dialect()); });
    const MutexLock lock(config_->datatype_mutex());
    types.for_each([&](const std::string&, const auto& type) { for_each_named_type(*type, mention); });
    for (unsigned depth = 0; !names.empty() && depth <= max_inference_depth; ++depth) {
        for (const std::string& name : std::exchange(names, {})) {
            if (name.empty() || types.get(name)) continue;
            auto type = depth < max_inference_depth ? infer_type_not_locking(*config_, name) : nullptr;
            if (!type) type = empty_record(name);
            types.set_impl_ptr(name, type);
            for_each_named_type(*type, mention);
        }
    }
    empty_types_inside_themselves();
}

void UploadInfoAnalyzer::empty_types_inside_themselves() {
    std::unordered_map<std::string, std::vector<std::string>> edges;
    config_->datatypes().for_each([&](const std::string& name, const auto& type) {
        if (auto contained = contained_types(*type); !contained.empty()) edges.emplace(name, std::move(contained));
    });
    for (const std::string& name : names_on_cycles(edges))
        config_->datatypes().set_impl_ptr(name, empty_record(name));
}

void UploadInfoAnalyzer::mark_fields_of_topmost_layer() {
    RuntimeConfig::Symbols& symbols = config_->symbols();
    const MutexLock lock(config_->symbol_mutex()); // keeps the keys at their addresses
    std::vector<const UniqueFdxPath*> paths;
    paths.reserve(symbols.size());
    symbols.for_each([&](const UniqueFdxPath& path, const auto&) { paths.push_back(&path); });
    std::erase_if(paths, [&](const auto* path) { return !config_->is_topmost_layer_by_path(*path, false); });
    // Follows the order of the table, so it need not search any record.
    auto marked = paths.begin();
    symbols.update_each([&](const UniqueFdxPath& path, std::shared_ptr<const SymbolInfo>& symbol) {
        if (marked == paths.end() || *marked != &path) return;
        ++marked;
        auto copy = std::make_shared<SymbolInfo>(*symbol);
        copy->is_toplayer_field = true;
        symbol = std::move(copy);
    });
}

void UploadInfoAnalyzer::mark_aliases() {
    const MutexLock lock(config_->datatype_mutex());
    Visits visits;
    for (const auto& [name, type] : config_->datatypes().snapshot())
        mark_aliases_helper(name, visits);
}

// Base types come first. A chain that returns to itself stays unmarked.
void UploadInfoAnalyzer::mark_aliases_helper(std::string name, Visits& visits) {
    std::vector<std::string> chain;
    while (!name.empty() && visits.try_emplace(name, Visit::Open).second) {
        const auto type = config_->datatypes().get(name);
        chain.push_back(std::move(name));
        name = type ? base_name(*type) : std::string();
    }
    const auto known = visits.find(name);
    bool on_cycle = known != visits.end() && known->second == Visit::Open;
    for (; !chain.empty(); chain.pop_back()) {
        const auto type = config_->datatypes().get(chain.back());
        if (type && !on_cycle) mark_type(*type);
        if (chain.back() == name) on_cycle = false;
        visits[chain.back()] = Visit::Done;
    }
}

void UploadInfoAnalyzer::mark_type(const Datatype& type) {
    using enum DatatypeFlags;
    if (type.hmi_type() == ValueType::Vector) return mark_array(type);
    if (!RuntimeConfig::is_potential_alias(type) || type.type_name().empty() || type.count_subitems() != 0) return;
    const auto base = config_->datatypes().get(type.type_name());
    if (!base) return;
    if (is_any_alias(*base)) {
        mark_alias(type, std::uint32_t(AliasOfAlias));
    } else if (base->hmi_type() == ValueType::Vector) {
        make_array(type, *base);
    } else if (RuntimeConfig::potential_alias_is_alias_indirection(type, *base)) {
        const std::uint32_t reference = base->is_reference() ? std::uint32_t(ReferenceByAlias) : 0u;
        mark_alias(type, (AliasIndirection | IndirectionByAlias) | reference);
    } else if (RuntimeConfig::potential_alias_is_struct_alias(type, *base)) {
        mark_alias(type, std::uint32_t(StructAlias));
    } else if (RuntimeConfig::potential_alias_is_enum_alias(type, *base)) {
        mark_alias(type, std::uint32_t(EnumAlias));
    } else if (is_elementary(*base) && type.count_enum_items() == 0 && !is_structure(type)) {
        mark_alias(type, std::uint32_t(BasicAlias));
    }
}

// The flags of an alias of an alias do not show that it ends at a pointer.
void UploadInfoAnalyzer::mark_array(const Datatype& array) {
    const auto element = config_->datatypes().get(element_name(array));
    if (!element) return;
    const auto resolved = resolve_type(*config_, UniqueFdxPath(), *element, false, true, ResolveSettings::AliasOfAlias);
    mark_alias(array, flags_of_array_of(resolved.type ? *resolved.type : *element));
}

void UploadInfoAnalyzer::make_array(const Datatype& alias, const Datatype& base) {
    constexpr std::uint32_t array_flags =
        (DatatypeFlags::BitArray | DatatypeFlags::IndirectionByAlias) | std::uint32_t(DatatypeFlags::ReferenceByAlias);
    DatatypeDescription description = alias.description();
    description.array_info = base.array_info();
    description.type_name = element_name(base);
    description.fdx_type = base.fdx_type();
    description.hmi_type = get_actual_hmi_datatype(ValueType::Vector, alias.attributes(), {});
    description.flags |= base.flags() & array_flags;
    config_->datatypes().set_impl_ptr(alias.item_name(), std::make_shared<const Datatype>(std::move(description)));
}

void UploadInfoAnalyzer::mark_alias(const Datatype& type, std::uint32_t flags) {
    if (flags == 0) return;
    DatatypeDescription description = type.description();
    description.flags |= flags;
    config_->datatypes().set_impl_ptr(type.item_name(), std::make_shared<const Datatype>(std::move(description)));
}

void UploadInfoAnalyzer::resolve_items_of_enum_aliases() {
    const MutexLock lock(config_->datatype_mutex());
    for (const auto& [name, alias] : config_->datatypes().snapshot()) {
        if (!alias->is_enum_alias()) continue;
        const auto base = config_->datatypes().get(alias->type_name());
        if (!base) continue;
        DatatypeDescription description = base->description();
        description.attributes = alias->attributes();
        description.item_name = alias->item_name();
        description.type_name = alias->type_name();
        config_->datatypes().set_impl_ptr(name, std::make_shared<const Datatype>(std::move(description)));
    }
}

void UploadInfoAnalyzer::build_lookup_tables() {
    LookupTrieBuilder tables;
    const MutexLock symbol_lock(config_->symbol_mutex());
    const MutexLock lock(config_->datatype_mutex());
    tables.reserve(config_->symbols().size());
    for (const auto& [name, type] : config_->datatypes().snapshot())
        if (!name.empty()) build_lookup_tables_for_datatype(tables, name, *type);
    config_->symbols().for_each([&](const UniqueFdxPath& path, const auto& symbol) {
        const std::string& type = symbol->datatype_without_dialect();
        const bool is_plain = path.str().find_first_of("[]^`") == std::string::npos;
        const auto node = tables.add_symbol(is_plain ? path.str() : simplify(sanitize(path)).str());
        tables.set(node, table_values_from_attributes(symbol->attributes),
                   type.empty() ? no_lookup_node : tables.add(LookupTrieBuilder::types, type));
    });
    config_->set_lookup_tables(std::make_shared<const LookupTrie>(tables));
}

void UploadInfoAnalyzer::build_lookup_tables_for_datatype(LookupTrieBuilder& tables, const std::string& name,
                                                          const Datatype& type) {
    Attributes attributes = type.attributes();
    std::string next;
    if (type.is_alias_of_alias() || type.is_indirection_strict() || type.is_alias_indirection()) {
        auto resolved = state_.simple_resolve(config_, type, true);
        attributes.merge_keep_duplicates(resolved.second);
        if (!empty_or_only_dialect_suffix(resolved.first)) next = std::move(resolved.first);
    } else if (type.is_struct_alias() || type.array_info().dimensions() != 0) {
        next = base_name(type);
    }
    const auto node_of = [&tables](const std::string& type_name) {
        const std::string plain = remove_dialect_suffix_copy(type_name);
        return plain.empty() ? no_lookup_node : tables.add(LookupTrieBuilder::types, plain);
    };
    const auto root = tables.add(LookupTrieBuilder::types, name);
    tables.set(root, table_values_from_attributes(attributes), node_of(next == name ? std::string() : next));
    const auto add_child = [&](const std::string& child, const Attributes& own, const std::string& type_name) {
        tables.set(tables.add(root, child), table_values_from_attributes(own), node_of(type_name));
    };
    for (const SubItem& member : type.subitems())
        add_child(member.name(), member.attributes(), member.type_name());
    for (const PropertyItem& property : type.property_items())
        add_child(property.name(), property.attributes(), property.type_name());
    for (const MethodItem& method : type.method_items())
        add_child(method.name(), Attributes(), method.return_type_name());
}

} // namespace ZoHmiFdx
