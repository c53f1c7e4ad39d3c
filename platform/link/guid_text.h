#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace zo_link {

// A GUID's fields, laid out as the COM structure.
struct Guid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};

    friend bool operator==(const Guid&, const Guid&) = default;
};

// Reads 8-4-4-4-12 hexadecimal digits in either case, without braces; false for anything else. [any thread]
bool parse_guid(std::string_view text, Guid& guid);

// The same form, lower case. [any thread]
std::string format_guid(const Guid& guid);

} // namespace zo_link
