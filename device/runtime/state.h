#pragma once

#include "device/code/connection_state.h"
#include "device/code/symbols_info.h"
#include "device/request/fdx_runtime.h"
#include "device/request/request_limits.h"
#include "device/runtime/handle_request.h"
#include "device/runtime/resolve_result.h"
#include "device/runtime/runtime_config.h"
#include "device/runtime/state_options.h"
#include "support/export.h"
#include "support/extension_result.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace ZoHmiSrv {
class Value;
}

namespace ZoHmiFdx {

class Runtimes;

/// All runtimes of a device connection, by name: their phases, the uploads of their symbols and types, and the answers
/// from these. State has no thread: its users call `refresh` when `refresh_due` is true. While an upload runs or is
/// due, questions about names and types get the old answers. Failures carry the path or the runtime's name. [any
/// thread]
class ZO_EXPORT State {
public:
    using Runtime = std::shared_ptr<RuntimeConfig>;
    using View = std::span<const unsigned char>;

    explicit State(StateOptions options = {});
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    /// @name Runtimes
    /// @{
    /// Enters the runtime under its name, or changes it. Another address means a new connection and a new upload.
    ZoHmiSrv::ExtensionResult configure(const FdxRuntime& runtime);
    /// The config in use, an empty one before the first upload; never null.
    Runtime runtime_config(const std::string& name);
    /// Back to an empty config, as before the first upload.
    void clear_runtime(const std::string& name);
    /// Uploads symbols and types unless those in use are the target's. Blocks while another thread refreshes the same
    /// runtime, and for its requests.
    ZoHmiSrv::ExtensionResult refresh(const std::string& name);
    [[nodiscard]] bool refresh_due(const std::string& name) const;
    /// Success where values can be read and written.
    [[nodiscard]] ZoHmiSrv::ExtensionResult availability(const std::string& name) const;
    [[nodiscard]] SymbolsInfo symbols_info(const std::string& name) const;
    /// Asks the device. Blocks for a request.
    TranslatedState connection_state(const std::string& name);
    [[nodiscard]] const RequestLimits& limits() const noexcept { return options_.limits; }
    /// @}

    /// @name Upload
    /// Blocks and entries as the target sends them. A block with one malformed entry adds nothing.
    /// @{
    ZoHmiSrv::ExtensionResult add_symbols(const Runtime& runtime, View block);
    ZoHmiSrv::ExtensionResult add_datatypes(const Runtime& runtime, View block);
    /// One entry. A type that is stored already takes over the size alone.
    ZoHmiSrv::ExtensionResult add_datatype(const Runtime& runtime, View entry);
    /// Takes the attributes over where the entry has more than the stored symbol.
    void update_attributes_based_on_symbol_entry(const Runtime& runtime, View entry);
    void preprocess_upload_info(const Runtime& runtime);
    void postprocess_upload_info(const Runtime& runtime);
    /// @}

    /// @name Types and paths
    /// @{
    /// Null for an empty or unknown name. With `dialect`, the path decides which dialect of the type it is.
    std::shared_ptr<const Datatype> datatype(const Runtime& runtime, const SanitizedUniqueFdxPath& path,
                                             const std::string& name, bool dialect, DatatypeStorage storage) const;
    /// The type that aliases, pointers and references lead to, at most `limit` steps away.
    template <class Path>
    ResolveResult<Path> resolve(const Runtime& runtime, const Path& path, const Datatype& type,
                                bool follow_indirections, bool datatype_mutex_held, ResolveSettings settings,
                                std::size_t limit = std::string::npos) const;
    /// The name of the type at the end of all aliases, pointers and references, and the attributes on the way.
    std::pair<std::string, Attributes> simple_resolve(const Runtime& runtime, const Datatype& type,
                                                      bool datatype_mutex_held = false) const;
    /// Translates a client's path. Returns never null. The answer is cached, a failure too.
    std::shared_ptr<const TranslatePathResult> translate_path(const Runtime& runtime,
                                                              const UnqualifiedFdxPath& path) const;
    /// Lists the members of a path, or the top layer for the empty path: a Vector of Structs with "name", "path",
    /// "type", "size", "readOnly", "hidden" and "hasChildren".
    ZoHmiSrv::ExtensionResult browse(const std::string& name, const UnqualifiedFdxPath& parent, ZoHmiSrv::Value& out,
                                     bool with_hidden = false);
    /// True for an attribute that clients do not see.
    [[nodiscard]] bool is_plc_attribute_ignored(const std::string& key) const;
    /// @}

    /// @name Handles
    /// @{
    /// Answers each request. Unknown handles are fetched in one sum. Blocks for its requests.
    void fetch_handles(const Runtime& runtime, std::span<HandleRequest> requests);
    /// Returns the failure for the code of a value by handle. If the target no longer knows the handle, the handle is
    /// forgotten and a refresh is due.
    ZoHmiSrv::ExtensionResult value_failure(const Runtime& runtime, const HandleRequest& used, int code);
    /// @}

private:
    const StateOptions options_;
    const std::unique_ptr<Runtimes> runtimes_;
};

extern template ResolveResult<UniqueFdxPath> State::resolve(const Runtime&, const UniqueFdxPath&, const Datatype&, bool,
                                                            bool, ResolveSettings, std::size_t) const;
extern template ResolveResult<SanitizedUniqueFdxPath> State::resolve(const Runtime&, const SanitizedUniqueFdxPath&,
                                                                     const Datatype&, bool, bool, ResolveSettings,
                                                                     std::size_t) const;

} // namespace ZoHmiFdx
