#pragma once

#include "device/runtime/runtime_config.h"
#include "device/runtime/translate_path_result.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ZoHmiFdx {

enum class Spelling { Exact, AnyCase };

/// Returns the failure of a path that does not exist.
[[nodiscard]] ZoHmiSrv::ExtensionResult symbol_not_found(const std::string& path);

/// Follows a client's text from a symbol through members, elements and targets. Use an object once.
class PathWalk {
public:
    PathWalk(RuntimeConfig& config, const std::string& symbol_path, const SymbolInfo& symbol, Spelling spelling);

    /// Follows the text after the first `start` bytes, which name the symbol.
    TranslatePathResult follow(std::string_view text, std::size_t start);

private:
    bool step();
    bool step_to_member();
    bool step_to_method();
    bool step_to_element();
    bool step_to_target();
    bool take_dimensions(const std::vector<std::int64_t>& indices);

    bool load_type(const std::string& name);
    /// Resolves the aliases, pointers and references before a part, and appends their operators.
    bool resolve_to_content();
    std::string_view take_name();
    bool fail(int code, const char* wording);
    bool fail_not_found();

    RuntimeConfig& config_;
    const Spelling spelling_;
    std::string_view text_;
    std::size_t at_ = 0;
    UniqueFdxPath path_;
    std::shared_ptr<const Datatype> type_;
    TranslatePathResult found_;
};

} // namespace ZoHmiFdx
