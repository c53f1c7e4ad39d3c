#include "device/type/method_item.h"

#include "device/type/type_name_escape.h"

#include <algorithm>
#include <functional>

namespace ZoHmiFdx {

void MethodItem::swap(MethodItem& other) noexcept {
    name_.swap(other.name_);
    return_type_name_.swap(other.return_type_name_);
    comment_.swap(other.comment_);
    std::swap(flags_, other.flags_);
    parameters_.swap(other.parameters_);
}

bool MethodItem::has_out_or_inout_parameters() const noexcept {
    return std::any_of(parameters_.begin(), parameters_.end(), std::mem_fn(&MethodParameterItem::is_out_or_inout));
}

std::string MethodItem::signature() const {
    std::string text = "METHOD";
    if (!return_type_name_.empty())
        text += "-RETURNING-" + escape_datatype_name(return_type_name_);
    else if (parameters_.empty())
        text += "-VOID";
    if (parameters_.empty()) return text;

    // The groups: inputs, outputs, parameters of both directions.
    std::vector<std::pair<int, std::string>> texts;
    texts.reserve(parameters_.size());
    for (const MethodParameterItem& parameter : parameters_) {
        const int group = !parameter.is_out_or_inout() ? 0 : parameter.is_inout() ? 2 : 1;
        constexpr const char* marks[] = {"-", "-OUT-", "-IN_OUT-"};
        texts.emplace_back(group, parameter.name + marks[group] + escape_datatype_name(parameter.type_name));
    }
    std::sort(texts.begin(), texts.end());
    const char* separator = "-PARAMETERS-";
    for (const auto& [group, parameter] : texts) {
        text += separator;
        text += parameter;
        separator = "--";
    }
    return text;
}

} // namespace ZoHmiFdx
