#pragma once

#include "device/runtime/resolve_result.h"
#include "device/runtime/runtime_config.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

/// Answers questions about the types of a runtime. Names have no dialect unless a function says otherwise.
namespace ZoHmiFdx {

using TypePointer = std::shared_ptr<const Datatype>;

/// Infers a type from its name and from the types of the table. Returns null if the name describes no type.
TypePointer infer_type_not_locking(const RuntimeConfig& config, const std::string& name)
    ZO_REQUIRES(config.datatype_mutex());

/// Returns the stored type, else infers and stores it. Null if neither works.
TypePointer find_or_infer_not_locking(RuntimeConfig& config, const std::string& name)
    ZO_REQUIRES(config.datatype_mutex());
TypePointer find_or_infer(RuntimeConfig& config, const std::string& name);

/// See `State::datatype`.
TypePointer find_datatype(RuntimeConfig& config, const SanitizedUniqueFdxPath& path, std::string name, bool dialect,
                          DatatypeStorage storage);

/// See `State::resolve`. `datatype_mutex_held` says whether the caller has locked the datatype mutex.
template <class Path>
ResolveResult<Path> resolve_type(RuntimeConfig& config, const Path& path, const Datatype& type,
                                 bool follow_indirections, bool datatype_mutex_held, ResolveSettings settings,
                                 std::size_t limit = std::string::npos);
extern template ResolveResult<UniqueFdxPath> resolve_type(RuntimeConfig&, const UniqueFdxPath&, const Datatype&, bool,
                                                          bool, ResolveSettings, std::size_t);
extern template ResolveResult<SanitizedUniqueFdxPath>
resolve_type(RuntimeConfig&, const SanitizedUniqueFdxPath&, const Datatype&, bool, bool, ResolveSettings, std::size_t);

/// Returns the name of the type at the end of all aliases, pointers and references. Also returns the attributes on the
/// way.
std::pair<std::string, Attributes> simple_resolve_type(RuntimeConfig& config, const Datatype& type,
                                                       bool datatype_mutex_held);

/// Returns the operators that one indirection needs.
std::string dereference_operators_of(const Datatype& indirection);
/// Returns the name of the type of an array's elements.
const std::string& element_name(const Datatype& array) noexcept;
/// Returns the flags of an array with elements of this type.
std::uint32_t flags_of_array_of(const Datatype& element) noexcept;

} // namespace ZoHmiFdx
