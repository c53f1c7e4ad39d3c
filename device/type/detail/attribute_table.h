#pragma once

#include "device/type/attributes.h"

#include <string_view>

namespace ZoHmiFdx {

struct AttributeKey {
    std::string_view key;
    AttributesFlags flags;
};

inline constexpr std::string_view add_symbol_key = "ZoHmiSymbol.AddSymbol";
inline constexpr std::string_view add_symbol_user_groups_key = "ZoHmiSymbol.AddSymbol.UserGroups";
inline constexpr std::string_view add_symbol_read_user_groups_key = "ZoHmiSymbol.AddSymbol.UserGroups.Read";
inline constexpr std::string_view add_symbol_hidden_key = "ZoHmiSymbol.AddSymbol.Hidden";

/// The keys with flags. `Utf8` has none: it depends on the value.
inline constexpr AttributeKey attribute_keys[] = {
    {"LowerBorder", AttributesFlags::LowerBorder},
    {"UpperBorder", AttributesFlags::UpperBorder},
    {"ZoEncoding", AttributesFlags::Encoding},
    {"ZoHmiSymbol.Show", AttributesFlags::Show},
    {"ZoHmiSymbol.ShowRecursively", AttributesFlags::ShowRecursively},
    {"ZoHmiSymbol.Hide", AttributesFlags::Hide},
    {"ZoHmiSymbol.ReadOnly", AttributesFlags::ReadOnly},
    {"ZoHmiSymbol.BLOB", AttributesFlags::Blob},
    {"ZoSwapWord", AttributesFlags::SwapWord},
    {"ZoSwapDWord", AttributesFlags::SwapDWord},
    {add_symbol_key, AttributesFlags::AddSymbol},
    {add_symbol_user_groups_key, AttributesFlags::AddSymbol},
    {add_symbol_read_user_groups_key, AttributesFlags::AddSymbol},
    {add_symbol_hidden_key, AttributesFlags::AddSymbol},
};

} // namespace ZoHmiFdx
