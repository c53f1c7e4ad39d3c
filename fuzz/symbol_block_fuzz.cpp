// A block of uploaded symbols: four bytes of code page in front, then the block as a controller sends it.

#include "device/runtime/state.h"
#include "fuzz/require.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

using namespace ZoHmiFdx;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < sizeof(std::uint32_t)) return 0;
    UploadInfo info;
    std::memcpy(&info.code_page, data, sizeof info.code_page);
    const std::vector<unsigned char> block(data + sizeof info.code_page, data + size);

    State state;
    const auto config = std::make_shared<RuntimeConfig>("plc");
    config->set_upload_info(info);
    const auto result = state.add_symbols(config, block);
    const auto symbols = config->symbols().snapshot();
    require(result.code() == 0 || (result.code() == 0x100031 && symbols.empty()));
    for (const auto& [path, symbol] : symbols) {
        require(!path.empty() && path.str().find_first_of("[],^`") == std::string::npos);
        require(!symbol->datatype_without_dialect().empty());
    }
    // The same bytes as the answer about one symbol.
    state.update_attributes_based_on_symbol_entry(config, block);

    state.preprocess_upload_info(config);
    state.postprocess_upload_info(config);
    for (const auto& [path, symbol] : symbols) {
        require(config->datatypes().get(symbol->datatype_without_dialect()) != nullptr);
        require(config->is_toplayer_field(path) == config->is_topmost_layer_by_path(path, false));
        const auto found = state.translate_path(config, UnqualifiedFdxPath(path.str()));
        require(found->result.code() == 0 || found->result.code() == 0x10003C);
        require(!symbol->attributes.has(AttributesFlags::Hide) || config->is_hidden_or_not_whitelisted(path));
    }
    return 0;
}
