#pragma once

#include "tests/support/checksum.h"
#include "tests/test_headers.h"

/// Compares a large table with its checksum. `digits` has a hexadecimal digit for each row: it shows which row differs.
inline void expect_rows(const std::vector<std::string>& rows, std::string_view digits, std::uint32_t checksum) {
    std::string all, actual;
    for (const std::string& row : rows) {
        all += row;
        actual += "0123456789abcdef"[crc32(row) % 16];
        const std::size_t at = actual.size() - 1;
        EXPECT_TRUE(at < digits.size() && actual[at] == digits[at])
            << "row " << at << " differs: " << row.substr(0, row.find('\n'));
    }
    EXPECT_EQ(actual, digits);
    EXPECT_EQ(crc32(all), checksum);
}
