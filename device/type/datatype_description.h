#pragma once

#include "device/type/array_info.h"
#include "device/type/attributes.h"
#include "device/type/data_type.h"
#include "device/type/datatype_flags.h"
#include "device/type/method_item.h"
#include "device/type/property_item.h"
#include "device/type/sub_item.h"
#include "extension/host/value_type.h"
#include "support/export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ZoHmiFdx {

struct EnumItem {
    std::string name;
    std::int64_t value = 0;
};

/// The fields of a type, from which a `Datatype` is made. One thread owns it.
struct ZO_EXPORT DatatypeDescription {
    std::int32_t size = 0; ///< bytes
    std::string item_name; ///< the type's own name
    std::string type_name; ///< of the base type or the target type
    ArrayInfo array_info;
    std::vector<SubItem> subitems; ///< in declared order
    std::vector<PropertyItem> property_items;
    std::vector<MethodItem> method_items;
    std::vector<EnumItem> enum_items;
    Attributes attributes;
    ZoHmiSrv::ValueType hmi_type = ZoHmiSrv::ValueType::Null;
    FdxDataType fdx_type = FdxDataType::Void;
    std::uint32_t flags = std::uint32_t(DatatypeFlags::Initial);
    std::uint32_t parsed = 0; ///< nonzero if the details are known

    /// Replaces a pointer or reference by its target. `type_name` becomes the text behind the first prefix of the name,
    /// or of `type_name` if the name has no prefix. Clears the flags of pointer and reference.
    void dereference();
};

} // namespace ZoHmiFdx
