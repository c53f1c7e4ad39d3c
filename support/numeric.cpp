#include "support/numeric.h"

#include <charconv>

namespace ZoHmiSrv::Algorithm {

std::string unsigned_to_hex(std::uint64_t value, bool prefix, bool pad8, bool pad_byte) {
    char digits[16];
    const char* end = std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
    const auto count = static_cast<std::size_t>(end - digits);
    const std::size_t least = pad8 ? 8 : pad_byte ? 2 : 1;

    std::string text = prefix ? "0x" : "";
    if (count < least) text.append(least - count, '0');
    return text.append(digits, count);
}

} // namespace ZoHmiSrv::Algorithm
