#include "device/type/datatype_description.h"

#include "device/type/indirection.h"

namespace ZoHmiFdx {

void DatatypeDescription::dereference() {
    const std::string& name = is_indirection_strict(item_name) ? item_name : type_name;
    for (const std::string_view prefix : {pointer_prefix, reference_prefix}) {
        if (!name.starts_with(prefix)) continue;
        type_name = name.substr(prefix.size());
        break;
    }
    flags &= ~(DatatypeFlags::Reference | DatatypeFlags::Pointer);
}

} // namespace ZoHmiFdx
