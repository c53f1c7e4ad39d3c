#include "device/type/fix_type_description.h"

#include "device/type/datatype_description.h"
#include "device/type/indirection.h"

#include <cstddef>
#include <string>
#include <utility>

namespace ZoHmiFdx {

namespace {

void add_borders(DatatypeDescription& description) {
    if (description.array_info.dimensions() != 0 || !fdx_type_can_have_subrange(description.fdx_type)) return;
    if (description.attributes.has(AttributesFlags::LowerBorder | AttributesFlags::UpperBorder)) return;

    const std::string& name = description.item_name;
    const std::size_t open = name.find('(');
    if (open == std::string::npos) return;
    const std::size_t dots = name.find("..", open + 1);
    if (dots == std::string::npos) return;
    const std::size_t close = name.find(')', dots + 2);
    if (close == std::string::npos) return;
    description.attributes.add("LowerBorder", name.substr(open + 1, dots - open - 1));
    description.attributes.add("UpperBorder", name.substr(dots + 2, close - dots - 2));
}

void move_target(DatatypeDescription& description) {
    if ((description.flags & (DatatypeFlags::Reference | DatatypeFlags::Pointer)) == 0) return;
    if (description.item_name != description.type_name) return;
    auto names = analyze_indirection_type_names(description.item_name, description.type_name);
    if (!names.remainder.empty()) description.type_name = std::move(names.remainder);
}

} // namespace

void fix_type_description(DatatypeDescription& description) {
    add_borders(description);
    move_target(description);
}

} // namespace ZoHmiFdx
