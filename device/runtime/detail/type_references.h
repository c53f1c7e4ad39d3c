#pragma once

#include "device/type/datatype.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// The names by which types refer to each other.
namespace ZoHmiFdx {

/// Calls `visit(name)` for every type name that this type mentions; some names are empty.
template <class Visit>
void for_each_named_type(const Datatype& type, Visit visit) {
    visit(type.type_name());
    visit(type.array_info().element_type_name());
    for (const SubItem& member : type.subitems())
        visit(member.type_name());
    for (const PropertyItem& property : type.property_items())
        visit(property.type_name());
    for (const MethodItem& method : type.method_items()) {
        visit(method.return_type_name());
        for (const MethodParameterItem& parameter : method.parameters())
            visit(parameter.type_name);
    }
}

/// Returns the base type of an alias, or the element type of an array; empty for every other type.
std::string base_name(const Datatype& type);
/// Returns the types that a value of this type contains.
std::vector<std::string> contained_types(const Datatype& type);

/// Returns the names of the types that refer to themselves, directly or through others.
std::unordered_set<std::string> names_on_cycles(const std::unordered_map<std::string, std::vector<std::string>>& edges);

} // namespace ZoHmiFdx
