#include "device/type/indirection.h"

#include <cstddef>

namespace ZoHmiFdx {

bool is_indirection_strict(const std::string& name) {
    return name.starts_with(reference_prefix) || name.starts_with(pointer_prefix);
}

AnalyzeIndirectionTypeNamesResult analyze_indirection_type_names(const std::string& name, const std::string& target) {
    AnalyzeIndirectionTypeNamesResult result;
    const bool same = name == target;
    std::string_view rest = name;
    while (true) {
        char dereference = 0;
        if (!same || rest.size() == name.size()) {
            if (rest.starts_with(reference_prefix)) {
                dereference = '`';
                rest.remove_prefix(reference_prefix.size());
            } else if (rest.starts_with(pointer_prefix)) {
                dereference = '^';
                rest.remove_prefix(pointer_prefix.size());
            }
        }
        result.target_found = rest.starts_with(target);
        if (dereference == 0) {
            if (same) result.remainder = rest;
            return result;
        }
        result.dereference_operators += dereference;
        if (result.target_found) return result;
    }
}

std::string infer_dereference_operators(const std::string& name, const std::string& target) {
    return analyze_indirection_type_names(name, target).dereference_operators;
}

} // namespace ZoHmiFdx
