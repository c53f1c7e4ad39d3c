#include "device/runtime/state.h"
#include "device/type/attributes.h"
#include "extension/host/value.h"

namespace ZoHmiFdx {

ZoHmiSrv::Value Attributes::public_attributes_as_value(const State& state) const {
    ZoHmiSrv::Value members;
    members.set_type(ZoHmiSrv::ValueType::Map);
    for (const auto& [key, value] : entries_)
        if (!state.is_plc_attribute_ignored(key)) members.insert_or_update(key.c_str(), value.c_str());
    return members;
}

} // namespace ZoHmiFdx
