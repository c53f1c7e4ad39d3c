// Clients' paths against a fixed plant, a path a line: each is translated, and every check is asked about the answer.

#include "fuzz/require.h"
#include "tests/device/runtime/literal_lookup.h"
#include "tests/device/runtime/plant.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

using namespace ZoHmiFdx;

namespace {

struct FixedPlant {
    FixedPlant() {
        FdxRuntime runtime = config->runtime_revision();
        runtime.set_uses_whitelisting(true);
        config->set_runtime_revision(runtime);
        for (const LookupFlag flag : literal::all_flags)
            tables[flag] = literal::build(state, config, flag);
    }

    State state;
    std::shared_ptr<RuntimeConfig> config = plant::analyzed(state, plant::bottling());
    std::map<LookupFlag, LookupTable> tables;
};

FixedPlant& fixed_plant() {
    static FixedPlant plant;
    return plant;
}

void check_tables(const std::string& text) {
    FixedPlant& plant = fixed_plant();
    const UniqueFdxPath unique = plant::path(text);
    const LookupFdxPath lookup = simplify(sanitize(unique));
    for (const LookupFlag flag : literal::all_flags) {
        const bool expected = literal::is_in(plant.tables[flag], flag, lookup.str());
        require(plant.config->is_in_lookup_table(flag, lookup) == expected);
        require(has(plant.config->tables_of(unique), flag) == expected);
    }
    require(plant.config->is_hidden_or_not_whitelisted(unique) ==
            plant.config->is_hidden_or_not_whitelisted(sanitize(unique)));
    require(plant.config->is_readonly(unique) == plant.config->is_readonly(sanitize(unique)));
    require(plant.config->is_in_a_whitelisted_tree(unique) == plant.config->is_in_a_whitelisted_tree(sanitize(unique)));
    (void)plant.config->is_topmost_layer_by_path(unique, true);
}

// The exact path leads to the same place.
void check_translation(const std::string& text) {
    FixedPlant& plant = fixed_plant();
    const auto found = plant.state.translate_path(plant.config, UnqualifiedFdxPath(text));
    if (found->result.code() != 0) {
        require(found->path.unique().empty() && found->type_name.empty());
        return;
    }
    const std::string& unique = found->path.unique().str();
    check_tables(unique);
    const auto again = plant.state.translate_path(plant.config, UnqualifiedFdxPath(unique));
    require(again->result.code() == 0 && again->path.unique() == found->path.unique());
    require(again->type_name == found->type_name && again->method_name == found->method_name);
    if (unique.find("serviceKey") != std::string::npos)
        require(plant.config->is_hidden_or_not_whitelisted(found->path.unique()));
    (void)plant.state.datatype(plant.config, found->path.sanitized(), found->type_name, true, DatatypeStorage::Table);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), std::min<std::size_t>(size, 2000));
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        check_tables(std::string(text.substr(0, end)));
        check_translation(std::string(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return 0;
}
