#pragma once

#include "device/type/datatype.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// The names by which types refer to each other.
namespace ZoHmiFdx {

/// Calls `visit(name)` for every name of a type that this one mentions; some are empty.
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

/// The type that this one is another name of, or an array of; empty for every other type.
std::string base_name(const Datatype& type);
/// The types that a value of this type contains.
std::vector<std::string> contained_types(const Datatype& type);

/// The names that lead back to themselves.
std::unordered_set<std::string> names_on_cycles(const std::unordered_map<std::string, std::vector<std::string>>& edges);

} // namespace ZoHmiFdx
