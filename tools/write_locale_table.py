#!/usr/bin/env python3
"""Writes targets/locale_table.h from tools/locales.tsv. Run it in the root of the tree after a change of the list.

The list has a language tag and its language code identifier on each line, as published in [MS-LCID].
"""

HEADER = """#pragma once

#include <cstdint>
#include <string_view>

// Written by tools/write_locale_table.py from tools/locales.tsv.
namespace ZoHmiEventLogger {

struct LocaleRow {
    std::string_view tag;
    std::int32_t id; ///< 0x1000 for a tag without an assigned number
};

/// The language code identifiers of [MS-LCID], sorted by the bytes of their tags.
inline constexpr LocaleRow locale_table[] = {
"""

rows = {}
with open("tools/locales.tsv", encoding="ascii") as source:
    for line in source:
        if line.startswith("#") or not line.strip():
            continue
        tag, number = line.split()
        if tag in rows:
            raise SystemExit(f"locales.tsv: duplicate tag {tag}")
        rows[tag] = int(number, 16)

with open("targets/locale_table.h", "w", encoding="ascii") as table:
    table.write("// clang-format off\n" + HEADER)
    for tag in sorted(rows):
        table.write(f'    {{"{tag}", 0x{rows[tag]:X}}},\n')
    table.write("};\n\n} // namespace ZoHmiEventLogger\n// clang-format on\n")
