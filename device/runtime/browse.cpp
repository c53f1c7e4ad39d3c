#include "device/runtime/detail/browse.h"

#include "device/code/result_codes.h"
#include "device/runtime/detail/type_lookup.h"
#include "extension/host/value.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

namespace {

struct Row {
    UniqueFdxPath path;
    std::string name;
    std::string type;
    std::uint32_t size = 0;
};

bool has_children(RuntimeConfig& config, const UniqueFdxPath& path, const std::string& type_name) {
    const auto type = find_or_infer(config, type_name);
    if (!type) return false;
    const auto resolved = resolve_type(config, path, *type, true, false, ResolveSettings::AllButEnumAliases);
    const Datatype& content = resolved.type ? *resolved.type : *type;
    return content.count_subitems() + content.count_property_items() != 0;
}

void append(RuntimeConfig& config, Value& out, const Row& row, bool with_hidden) {
    const bool hidden = config.is_hidden_or_not_whitelisted(row.path);
    if (hidden && !with_hidden) return;
    Value symbol;
    symbol.set_type(ValueType::Struct);
    symbol["name"] = row.name.c_str();
    symbol["path"] = row.path.c_str();
    symbol["type"] = row.type.c_str();
    symbol["size"].set(static_cast<long>(row.size));
    symbol["readOnly"] = config.is_readonly(row.path);
    symbol["hidden"] = hidden;
    symbol["hasChildren"] = has_children(config, row.path, row.type);
    out << std::move(symbol);
}

void start(Value& out) {
    out = Value();
    out.set_type(ValueType::Vector);
}

} // namespace

void browse_top_layer(RuntimeConfig& config, Value& out, bool with_hidden) {
    start(out);
    std::vector<Row> rows;
    config.symbols().for_each([&](const UniqueFdxPath& path, const auto& symbol) {
        if (symbol->is_toplayer_field)
            rows.push_back({path, path.str(), symbol->datatype_without_dialect(), symbol->size});
    });
    std::ranges::sort(rows, {}, &Row::name);
    for (const Row& row : rows)
        append(config, out, row, with_hidden);
}

ExtensionResult browse_members(RuntimeConfig& config, const TranslatePathResult& parent, Value& out, bool with_hidden) {
    start(out);
    const auto type = find_or_infer(config, parent.type_name);
    if (!type) return {};
    const auto resolved =
        resolve_type(config, parent.path.unique(), *type, true, false, ResolveSettings::AllButEnumAliases);
    if (is_error(resolved.result)) return resolved.result;
    const Datatype& content = resolved.type ? *resolved.type : *type;
    const auto append_item = [&](const SubItem& item) {
        Row row{resolved.path, item.name(), item.type_name(), static_cast<std::uint32_t>(item.size())};
        row.path.push_back_subitem(item.name());
        append(config, out, row, with_hidden);
    };
    for (const SubItem& member : content.subitems())
        append_item(member);
    for (const PropertyItem& property : content.property_items())
        append_item(property);
    return {};
}

} // namespace ZoHmiFdx
