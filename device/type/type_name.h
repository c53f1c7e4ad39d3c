#pragma once

#include "device/type/data_type.h"
#include "support/export.h"

#include <cstdint>
#include <optional>
#include <string>

/// Type names are case-sensitive text of the device's programs: "INT", "STRING(80)", "POINTER TO DINT". They come from
/// the device as they are, so every function takes any text. [any thread]
namespace ZoHmiFdx {

enum class MethodFlags : std::uint8_t;

/// The code of a device's reply that does not fit its type.
inline constexpr int FDXERR_DEVICE_INVALIDDATA = 0x706;

/// Classifies a type by its name, or by `base_name` when the name is empty and `base_name` is not null. `size` is the
/// type's size in bytes as the device gives it, -1 for unknown.
///
/// Gives 0 and writes both outputs when the name is known; an `hmi_type` that holds Vector stays, since an array stays
/// an array whatever its elements are. Gives 0 and writes nothing for an unknown name. Gives
/// `FDXERR_DEVICE_INVALIDDATA` and writes nothing for a null name and for a size that is not the type's; a type that
/// exists in several sizes, pointers among them, needs its size. Null outputs are left out. Allocates nothing.
[[nodiscard]] ZO_EXPORT int parse_fdx_type_string(int size, const char* name, ZoHmiSrv::ValueType* hmi_type,
                                                  FdxDataType* fdx_type, const char* base_name);

/// The code of a type that the device calls composite although its name says what it is ("TIME", "POINTER TO INT");
/// any other code, and one whose name or size does not help, as it is.
[[nodiscard]] ZO_EXPORT unsigned amend_fdx_datatype(int size, const char* name, unsigned type);

/// The name is one of the names of elementary types that need no declaration. Not the same set as the names that
/// `parse_fdx_type_string` knows: of the strings only "STRING(80)" is in it.
[[nodiscard]] ZO_EXPORT bool is_known_general_itemname(const std::string& name);

/// The first of the flags of a type description: 2 for a reference, 4 for a pointer, 1 for a plain type.
[[nodiscard]] ZO_EXPORT std::uint32_t flags_from_datatype_name(const std::string& name);
/// Flags of a method: 3 for the getter of a property ("__get..."), 5 for a setter ("__set..."), 0 for others.
[[nodiscard]] ZO_EXPORT MethodFlags flags_from_method_name(const std::string& name);

/// False for the bit fields "BIT2" to "BIT7".
[[nodiscard]] ZO_EXPORT bool is_direct_access_supported_for_type(const std::string& name);

/// The bytes of a string whose length stands in the name, its end mark included: 81 for "STRING(80)", and for a
/// `WString` two for each character. The number is the device's, so the result is any 32-bit number: "STRING(x)" gives
/// 1, "STRING(-5)" wraps. No value for a name without a length.
[[nodiscard]] ZO_EXPORT std::optional<unsigned> parse_size_from_string_typename(const std::string& name,
                                                                                FdxDataType type);

} // namespace ZoHmiFdx
