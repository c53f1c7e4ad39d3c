#include "device/runtime/lookup_flag.h"

#include "device/type/attributes.h"

namespace ZoHmiFdx {

namespace {

LookupFlag flag_if(bool condition, LookupFlag flag) {
    return condition ? flag : LookupFlag::None;
}

} // namespace

LookupFlag lookup_flags_from_attributes(const Attributes& attributes) noexcept {
    return LookupFlag::Known | flag_if(attributes.has(AttributesFlags::ReadOnly), LookupFlag::ReadOnly) |
           flag_if(attributes.has(AttributesFlags::Hide), LookupFlag::Hidden) |
           flag_if(attributes.has(AttributesFlags::ShowRecursively), LookupFlag::ShownRecursively);
}

LookupFlag table_values_from_attributes(const Attributes& attributes) noexcept {
    using enum AttributesFlags;
    const LookupFlag values = lookup_flags_from_attributes(attributes) &
                              (LookupFlag::ReadOnly | LookupFlag::ShownRecursively | LookupFlag::Hidden);
    return values | flag_if(!attributes.has(Show | ShowRecursively | Hide), LookupFlag::NotShown);
}

} // namespace ZoHmiFdx
