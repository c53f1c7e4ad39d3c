#include "device/code/result_codes.h"
#include "device/runtime/detail/type_lookup.h"
#include "device/runtime/recursion_check.h"
#include "device/type/dialect.h"
#include "device/type/indirection.h"

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResultStream;

namespace {

constexpr std::size_t max_steps = 64;

bool has(ResolveSettings settings, ResolveSettings setting) {
    return (std::uint32_t(settings) & std::uint32_t(setting)) != 0;
}

/// Returns the deduced flags of the types that a resolve with these settings follows.
std::uint32_t deduced_flags(ResolveSettings settings, bool follow_indirections) {
    using enum DatatypeFlags;
    std::uint32_t flags = 0;
    if (has(settings, ResolveSettings::StructAlias)) flags |= DeducedStructAlias;
    if (has(settings, ResolveSettings::AliasOfAlias)) flags |= DeducedAliasOfAlias;
    if (has(settings, ResolveSettings::AliasIndirection)) flags |= DeducedAliasIndirection;
    if (has(settings, ResolveSettings::EnumAlias)) flags |= DeducedEnumAlias;
    if (follow_indirections && (has(settings, ResolveSettings::Pointer) || has(settings, ResolveSettings::Reference)))
        flags |= DeducedIndirectionStrict;
    return flags;
}

/// Returns whether the settings do not follow this pointer or reference.
bool stays(const Datatype& type, ResolveSettings settings) {
    return type.is_indirection_strict() &&
           !has(settings, type.is_reference() ? ResolveSettings::Reference : ResolveSettings::Pointer);
}

TypePointer void_type(const RuntimeConfig& config) {
    if (TypePointer stored = config.datatypes().get("")) return stored;
    DatatypeDescription description;
    description.flags = DatatypeFlags::Initial | DatatypeFlags::SizeZeroAllowed;
    return std::make_shared<const Datatype>(std::move(description));
}

/// Without analysis: the compiler cannot track a lock whose state is an argument.
TypePointer find(RuntimeConfig& config, const std::string& name, bool mutex_held) ZO_NO_THREAD_SAFETY_ANALYSIS {
    return mutex_held ? find_or_infer_not_locking(config, name) : find_or_infer(config, name);
}

} // namespace

std::string dereference_operators_of(const Datatype& indirection) {
    std::string operators =
        infer_dereference_operators(remove_dialect_suffix_copy(indirection.item_name()), indirection.type_name());
    if (operators.empty()) operators += indirection.is_reference() ? '`' : '^';
    return operators;
}

template <class Path>
ResolveResult<Path> resolve_type(RuntimeConfig& config, const Path& path, const Datatype& type,
                                 bool follow_indirections, bool datatype_mutex_held, ResolveSettings settings,
                                 std::size_t limit) {
    ResolveResult<Path> resolved;
    resolved.path = path;
    const std::uint32_t mask = deduced_flags(settings, follow_indirections);
    if ((type.flags() & mask) == 0) return resolved;

    const auto fail = [&](ExtensionResultStream& text) {
        resolved.result = text;
        resolved.type = void_type(config);
    };
    RecursionCheck<TypePointer> passed; // keeps the types alive, so that no address is reused
    const Datatype* current = &type;
    for (std::size_t step = 0; step < limit && (current->flags() & mask) != 0 && !stays(*current, settings); ++step) {
        if (step == max_steps || (resolved.type && passed.enter(resolved.type))) {
            fail(ExtensionResultStream(HMI_FDX_E_INVALID_SYMBOL_TYPE, path.str())
                 << "Recursive type " << type.item_name());
            break;
        }
        if (current->is_indirection_strict()) {
            resolved.path.append_indices_and_dereference_operators(dereference_operators_of(*current));
            resolved.only_names = false;
        }
        TypePointer next = find(config, current->type_name(), datatype_mutex_held);
        if (!next && !current->type_name().empty()) {
            fail(ExtensionResultStream(HMI_FDX_E_MISSING_SYMBOL_TYPE, path.str())
                 << "No type information for datatype " << current->type_name());
            break;
        }
        resolved.type = next ? std::move(next) : void_type(config);
        current = resolved.type.get();
        resolved.attributes.merge_keep_duplicates(current->attributes());
    }
    return resolved;
}

template ResolveResult<UniqueFdxPath> resolve_type(RuntimeConfig&, const UniqueFdxPath&, const Datatype&, bool, bool,
                                                   ResolveSettings, std::size_t);
template ResolveResult<SanitizedUniqueFdxPath> resolve_type(RuntimeConfig&, const SanitizedUniqueFdxPath&,
                                                            const Datatype&, bool, bool, ResolveSettings, std::size_t);

std::pair<std::string, Attributes> simple_resolve_type(RuntimeConfig& config, const Datatype& type,
                                                       bool datatype_mutex_held) {
    auto resolved =
        resolve_type(config, UniqueFdxPath(), type, true, datatype_mutex_held, ResolveSettings::AllButEnumAliases);
    return {resolved.type ? resolved.type->item_name() : type.item_name(), std::move(resolved.attributes)};
}

} // namespace ZoHmiFdx
