#pragma once

#include "support/export.h"

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A globally unique identifier in the layout of the proxy's interfaces: the first three groups are numbers, not bytes.
struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(const GUID&, const GUID&) = default;
    friend constexpr auto operator<=>(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);

namespace ZoHmiSrv::Algorithm {

/// "01234567-89AB-CDEF-0123-456789ABCDEF", upper case, in curly braces if `braces` is true. [any thread]
[[nodiscard]] ZO_EXPORT std::string uuid_to_string(const GUID& guid, bool braces);

/// Reads the form of `uuid_to_string` in either case. Braces are optional if `allow_braces` is true, and refused
/// otherwise. Empty for any other text. [any thread]
[[nodiscard]] ZO_EXPORT std::optional<GUID> guid_from_string(std::string_view text, bool allow_braces);

/// Reads 16 bytes as a device stores an identifier: the first three groups are little-endian. [any thread]
[[nodiscard]] ZO_EXPORT GUID uuid_from_bytes(const unsigned char* bytes);

} // namespace ZoHmiSrv::Algorithm
