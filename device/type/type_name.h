#pragma once

#include "device/type/data_type.h"
#include "support/export.h"

#include <cstdint>
#include <optional>
#include <string>

/// Type names are case-sensitive text of the device's programs: "INT", "STRING(80)", "POINTER TO DINT". They come from
/// the device unchecked, so every function takes any text. [any thread]
namespace ZoHmiFdx {

enum class MethodFlags : std::uint8_t;

/// The result code of a device's reply that does not match its type.
inline constexpr int FDXERR_DEVICE_INVALIDDATA = 0x706;

/// Classifies a type by its name, or by `base_name` if the name is empty and `base_name` is not null. `size` is the
/// size in bytes that the device sent, -1 for unknown.
///
/// Returns 0 and writes both outputs for a known name. An `hmi_type` of Vector is unchanged: an array stays an array.
/// Returns 0 and writes nothing for an unknown name. Returns `FDXERR_DEVICE_INVALIDDATA` and writes nothing for a null
/// name, and for a size that is not the size of the type. A type of several sizes and a pointer require a size. Outputs
/// may be null. Allocates nothing.
[[nodiscard]] ZO_EXPORT int parse_fdx_type_string(int size, const char* name, ZoHmiSrv::ValueType* hmi_type,
                                                  FdxDataType* fdx_type, const char* base_name);

/// Returns the code of a type with a known name ("TIME", "POINTER TO INT") for `Composite`. Returns all other codes,
/// and codes of unknown names and wrong sizes, unchanged.
[[nodiscard]] ZO_EXPORT unsigned amend_fdx_datatype(int size, const char* name, unsigned type);

/// True for the name of an elementary type that needs no declaration. The set differs from the names that
/// `parse_fdx_type_string` knows: "STRING(80)" is its only string.
[[nodiscard]] ZO_EXPORT bool is_known_general_itemname(const std::string& name);

/// The first flag of a type description: 2 for a reference, 4 for a pointer, 1 for a plain type.
[[nodiscard]] ZO_EXPORT std::uint32_t flags_from_datatype_name(const std::string& name);
/// Flags of a method: 3 for the getter of a property ("__get..."), 5 for a setter ("__set..."), 0 for others.
[[nodiscard]] ZO_EXPORT MethodFlags flags_from_method_name(const std::string& name);

/// False for the bit fields "BIT2" to "BIT7".
[[nodiscard]] ZO_EXPORT bool is_direct_access_supported_for_type(const std::string& name);

/// The bytes of a string, its end mark included, from the length in its type name: 81 for "STRING(80)". A `WString` has
/// two bytes for each character. The number comes from the device, so the result may be any 32-bit number: "STRING(x)"
/// gives 1, "STRING(-5)" wraps. No value for a name without a length.
[[nodiscard]] ZO_EXPORT std::optional<unsigned> parse_size_from_string_typename(const std::string& name,
                                                                                FdxDataType type);

} // namespace ZoHmiFdx
