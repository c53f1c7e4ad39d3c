#include "device/runtime/detail/type_lookup.h"

#include "device/type/build_type.h"
#include "device/type/dialect.h"
#include "device/type/type_name.h"

#include <limits>

namespace ZoHmiFdx {

using ZoHmiSrv::MutexLock;
using ZoHmiSrv::ValueType;

namespace {

constexpr int max_array_nesting = 16;

std::int32_t array_size(std::uint64_t elements, std::int32_t element_size) {
    constexpr std::uint64_t max = std::numeric_limits<std::int32_t>::max();
    const auto size = static_cast<std::uint64_t>(element_size);
    return element_size <= 0 || elements > max / size ? 0 : static_cast<std::int32_t>(elements * size);
}

/// Returns null if the name does not describe the type.
TypePointer infer(const RuntimeConfig& config, const std::string& name, int nesting) {
    DatatypeDescription type = build_type(name).description();
    if (type.hmi_type == ValueType::Vector) {
        const std::string element = type.array_info.element_type_name();
        TypePointer known = config.datatypes().get(element);
        if (!known && nesting < max_array_nesting) known = infer(config, element, nesting + 1);
        if (known) {
            type.size = array_size(type.array_info.total_nr_of_elements(), known->size());
            type.fdx_type = known->fdx_type();
            type.parsed = known->parsed() ? 1 : 0;
            type.flags |= flags_of_array_of(*known);
        }
    } else if ((type.flags & (DatatypeFlags::Pointer | DatatypeFlags::Reference)) != 0) {
        type.size = config.pointer_size();
        // If no pointer has this size, the type stays without a class.
        if (parse_fdx_type_string(type.size, name.c_str(), &type.hmi_type, &type.fdx_type, nullptr) == 0)
            type.parsed = 1;
    } else if (type.hmi_type == ValueType::Null) {
        return nullptr;
    }
    return std::make_shared<const Datatype>(std::move(type));
}

} // namespace

const std::string& element_name(const Datatype& array) noexcept {
    return array.type_name().empty() ? array.array_info().element_type_name() : array.type_name();
}

std::uint32_t flags_of_array_of(const Datatype& element) noexcept {
    if (!element.is_indirection()) return 0;
    return std::uint32_t(DatatypeFlags::IndirectionByAlias) |
           (element.is_reference() ? std::uint32_t(DatatypeFlags::ReferenceByAlias) : 0u);
}

TypePointer infer_type_not_locking(const RuntimeConfig& config, const std::string& name) {
    return infer(config, name, 0);
}

TypePointer find_or_infer_not_locking(RuntimeConfig& config, const std::string& name) {
    TypePointer type = config.datatypes().get(name);
    if (type || name.empty()) return type;
    type = infer_type_not_locking(config, name);
    if (type) config.datatypes().set_impl_ptr(name, type);
    return type;
}

TypePointer find_or_infer(RuntimeConfig& config, const std::string& name) {
    TypePointer type = config.datatypes().get(name);
    if (type) return type;
    const MutexLock lock(config.datatype_mutex());
    return find_or_infer_not_locking(config, name);
}

TypePointer find_datatype(RuntimeConfig& config, const SanitizedUniqueFdxPath& path, std::string name, bool dialect,
                          DatatypeStorage storage) {
    remove_dialect_suffix(name);
    if (name.empty()) return nullptr;
    const bool may_infer = (std::uint32_t(storage) & std::uint32_t(DatatypeStorage::Infer)) != 0;
    TypePointer type = may_infer ? find_or_infer(config, name) : config.datatypes().get(name);
    if (!type || !dialect || !type->can_have_dialects()) return type;

    auto flags = DatatypeDialectFlags::None;
    if (config.is_readonly(path)) flags = flags | DatatypeDialectFlags::ReadOnly;
    if (config.is_in_a_whitelisted_tree(path)) flags = flags | DatatypeDialectFlags::ShowRecursively;
    if (flags == DatatypeDialectFlags::None) return type;

    std::string suffixed = add_dialect_suffix(std::move(name), flags);
    const MutexLock lock(config.datatype_mutex());
    if (TypePointer known = config.datatypes().get(suffixed)) return known;
    DatatypeDescription copy = type->description();
    copy.item_name = suffixed;
    type = std::make_shared<const Datatype>(std::move(copy));
    config.datatypes().set_impl_ptr(suffixed, type);
    return type;
}

} // namespace ZoHmiFdx
