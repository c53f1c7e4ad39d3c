#include "device/type/property_item.h"

#include "device/type/type_name_escape.h"

namespace ZoHmiFdx {

std::string PropertyItem::signature() const {
    std::string text = "PROPERTY-";
    if (type_name().empty() || flags_ == 0) return text + "VOID";
    if (prefixed_getter_method_exists()) text += "GET-";
    if (prefixed_setter_method_exists()) text += "SET-";
    return text + escape_datatype_name(type_name());
}

} // namespace ZoHmiFdx
