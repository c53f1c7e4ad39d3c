#pragma once

#include "device/type/attributes.h"
#include "device/type/datatype.h"
#include "support/extension_result.h"

#include <cstdint>
#include <memory>

namespace ZoHmiFdx {

/// The types that a resolve follows, one bit each.
enum class ResolveSettings : std::uint32_t {
    StructAlias = 1,
    AliasOfAlias = 2,
    AliasIndirection = 4,
    Pointer = 8,
    EnumAlias = 0x10,
    Reference = 0x20,
    Names = StructAlias | AliasOfAlias | AliasIndirection,
    AllButEnumAliases = Names | Pointer | Reference,
};

/// The source of a type for `State::datatype`. With both bits, the table comes first.
enum class DatatypeStorage : std::uint32_t {
    Table = 1,
    Infer = 2, ///< from the name; the result is stored
    Both = 3,
};

template <class Path>
struct ResolveResult {
    ZoHmiSrv::ExtensionResult result;
    std::shared_ptr<const Datatype> type; ///< null: the type stands for itself; never null on failure
    Path path;                            ///< with the operators of the followed pointers and references
    Attributes attributes;                ///< of all followed types
    bool only_names = true;               ///< no pointer or reference was followed
};

} // namespace ZoHmiFdx
