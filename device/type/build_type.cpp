#include "device/type/build_type.h"

#include "device/type/dialect.h"
#include "device/type/fix_type_description.h"
#include "device/type/type_name.h"
#include "extension/host/algorithm.h"

#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace ZoHmiFdx {

namespace {

using ZoHmiSrv::ValueType;

constexpr int max_array_nesting = 16;

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

/// "1..3"
std::optional<ArrayInfo::Dimension> parse_dimension(std::string_view text) {
    const std::size_t dots = text.find("..");
    if (dots == std::string_view::npos) return std::nullopt;
    const auto lower = ZoHmiSrv::Algorithm::try_as_int64(trimmed(text.substr(0, dots)));
    const auto upper = ZoHmiSrv::Algorithm::try_as_int64(trimmed(text.substr(dots + 2)));
    if (!lower || !upper || !std::in_range<std::int32_t>(*lower) || *upper < *lower) return std::nullopt;
    return ArrayInfo::Dimension{static_cast<std::int32_t>(*lower),
                                static_cast<std::uint64_t>(*upper) - static_cast<std::uint64_t>(*lower) + 1};
}

/// "ARRAY [1..3, 0..1] OF INT"
std::optional<ArrayInfo> parse_array(std::string_view name) {
    constexpr std::string_view start = "ARRAY [";
    constexpr std::string_view end = "] OF ";
    const std::size_t close = name.find(end);
    if (!name.starts_with(start) || close == std::string_view::npos || close + end.size() == name.size())
        return std::nullopt;
    std::vector<ArrayInfo::Dimension> dimensions;
    std::string_view rest = name.substr(start.size(), close - start.size());
    for (bool more = true; more;) {
        const std::size_t comma = rest.find(',');
        const std::optional<ArrayInfo::Dimension> dimension = parse_dimension(rest.substr(0, comma));
        if (!dimension) return std::nullopt;
        dimensions.push_back(*dimension);
        more = comma != std::string_view::npos;
        rest.remove_prefix(more ? comma + 1 : rest.size());
    }
    return ArrayInfo(std::move(dimensions), std::string(name.substr(close + end.size())));
}

std::int32_t size_or_0(std::uint64_t size) {
    return std::in_range<std::int32_t>(size) ? static_cast<std::int32_t>(size) : 0;
}

std::int32_t array_size(std::uint64_t elements, std::int32_t element_size) {
    const auto size = static_cast<std::uint64_t>(element_size);
    if (size == 0 || elements > std::numeric_limits<std::uint64_t>::max() / size) return 0;
    return size_or_0(elements * size);
}

/// Requires a name without a dialect.
DatatypeDescription describe(std::string name, int array_nesting) {
    DatatypeDescription description;
    description.flags |= flags_from_datatype_name(name);
    if (std::optional<ArrayInfo> array = parse_array(name); array && array_nesting < max_array_nesting) {
        const DatatypeDescription element = describe(array->element_type_name(), array_nesting + 1);
        description.size = array_size(array->total_nr_of_elements(), element.size);
        description.type_name = array->element_type_name();
        description.array_info = *std::move(array);
        description.hmi_type = ValueType::Vector;
        description.fdx_type = element.fdx_type;
        description.parsed = element.parsed;
        description.item_name = std::move(name);
        return description;
    }
    const int code = parse_fdx_type_string(-1, name.c_str(), &description.hmi_type, &description.fdx_type, nullptr);
    if (code == 0 && description.hmi_type != ValueType::Null) {
        description.size = size_or_0(description.hmi_type == ValueType::String
                                         ? parse_size_from_string_typename(name, description.fdx_type).value_or(0)
                                         : calculate_size(description.fdx_type));
        description.parsed = 1;
    }
    description.type_name = name;
    description.item_name = std::move(name);
    fix_type_description(description);
    return description;
}

} // namespace

Datatype build_type(const std::string& name) {
    DatatypeDescription description = describe(remove_dialect_suffix_copy(name), 0);
    description.item_name = name;
    return Datatype(std::move(description));
}

} // namespace ZoHmiFdx
