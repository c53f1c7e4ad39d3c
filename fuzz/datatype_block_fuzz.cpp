// A block of uploaded types: four bytes of code page in front, then the block as a controller sends it.

#include "device/runtime/recursion_check.h"
#include "device/runtime/state.h"
#include "fuzz/require.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

using namespace ZoHmiFdx;

namespace {

void check_members(const Datatype& type) {
    for (const SubItem& member : type.subitems()) {
        require(!member.name().empty() && member.name().find_first_of(".#[],^`") == std::string::npos);
        require(member.offset() >= 0 && member.size() >= 0);
    }
}

// Nothing contains itself by value.
class Containment {
public:
    explicit Containment(const RuntimeConfig& config) : config_(config) {}

    void check(const std::string& name) {
        if (name.empty() || done_.contains(name)) return;
        require(!open_.enter(name));
        const auto type = config_.datatypes().get(name);
        require(type != nullptr);
        if (type->hmi_type() == ZoHmiSrv::ValueType::Vector) check(type->type_name());
        for (const SubItem& member : type->subitems())
            check(member.type_name());
        open_.leave(name);
        done_.insert(name);
    }

private:
    const RuntimeConfig& config_;
    RecursionCheck<std::string> open_;
    std::set<std::string> done_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < sizeof(std::uint32_t) || size > 4096) return 0;
    UploadInfo info;
    std::memcpy(&info.code_page, data, sizeof info.code_page);
    const std::vector<unsigned char> block(data + sizeof info.code_page, data + size);

    State state;
    const auto config = std::make_shared<RuntimeConfig>("plc");
    config->set_upload_info(info);
    (void)state.add_datatype(config, block);
    const auto single = config->datatypes().size();
    const auto result = state.add_datatypes(config, block);
    require(result.code() == 0 || (result.code() == 0x100031 && config->datatypes().size() == single));
    const auto types = config->datatypes().snapshot();
    for (const auto& [name, type] : types) {
        require(!name.empty() && type->item_name() == name && type->size() >= 0);
        check_members(*type);
        auto symbol = std::make_shared<SymbolInfo>();
        symbol->set_datatype_without_dialect(name);
        UniqueFdxPath path;
        path.str() = "M.s" + std::to_string(config->symbols().size());
        config->symbols().set_impl_ptr(path, symbol);
    }
    state.preprocess_upload_info(config);
    state.postprocess_upload_info(config);
    Containment containment(*config);
    for (const auto& [name, uploaded] : types) {
        containment.check(name);
        const auto type = config->datatypes().get(name);
        const auto resolved =
            state.resolve(config, UniqueFdxPath(), *type, true, false, ResolveSettings::AllButEnumAliases);
        require(resolved.result.code() == 0 || resolved.type != nullptr);
    }
    for (const auto& [path, symbol] : config->symbols().snapshot()) {
        const auto type = config->datatypes().get(symbol->datatype_without_dialect());
        for (const SubItem& member : type->subitems()) {
            UniqueFdxPath below = path;
            below.push_back_subitem(member.name());
            require(!member.attributes().has(AttributesFlags::Hide) || config->is_hidden_or_not_whitelisted(below));
            require(!member.attributes().has(AttributesFlags::ReadOnly) || config->is_readonly(below));
        }
    }
    return 0;
}
