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

/// All runtimes of a device connection, by name: their phases, and the uploads of their symbols and types. State
/// answers from these uploads. State has no thread: its users call `refresh` when `refresh_due` is true. While an
/// upload is in progress or due, questions about names and types get the old answers. Failures name the path or the
/// runtime. [any thread]
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
    /// Adds or changes the runtime with this name. A changed address needs a new connection and a new upload.
    ZoHmiSrv::ExtensionResult configure(const FdxRuntime& runtime);
    /// Returns the current config; an empty one before the first upload, never null.
    Runtime runtime_config(const std::string& name);
    /// Resets the runtime to an empty config, as before the first upload.
    void clear_runtime(const std::string& name);
    /// Uploads symbols and types unless the current ones match the target. Blocks for its requests, and while another
    /// thread refreshes the same runtime.
    ZoHmiSrv::ExtensionResult refresh(const std::string& name);
    [[nodiscard]] bool refresh_due(const std::string& name) const;
    /// Returns success if values can be read and written.
    [[nodiscard]] ZoHmiSrv::ExtensionResult availability(const std::string& name) const;
    [[nodiscard]] SymbolsInfo symbols_info(const std::string& name) const;
    /// Requests the state from the device. Blocks for one request.
    TranslatedState connection_state(const std::string& name);
    [[nodiscard]] const RequestLimits& limits() const noexcept { return options_.limits; }
    /// @}

    /// @name Upload
    /// Blocks and entries in the format of the target. A block with a malformed entry adds nothing.
    /// @{
    ZoHmiSrv::ExtensionResult add_symbols(const Runtime& runtime, View block);
    ZoHmiSrv::ExtensionResult add_datatypes(const Runtime& runtime, View block);
    /// Adds one entry. If the type is already stored, only its size changes.
    ZoHmiSrv::ExtensionResult add_datatype(const Runtime& runtime, View entry);
    /// Takes the attributes if the entry has more than the stored symbol.
    void update_attributes_based_on_symbol_entry(const Runtime& runtime, View entry);
    void preprocess_upload_info(const Runtime& runtime);
    void postprocess_upload_info(const Runtime& runtime);
    /// @}

    /// @name Types and paths
    /// @{
    /// Returns null for an empty or unknown name. With `dialect`, the path selects the dialect of the type.
    std::shared_ptr<const Datatype> datatype(const Runtime& runtime, const SanitizedUniqueFdxPath& path,
                                             const std::string& name, bool dialect, DatatypeStorage storage) const;
    /// Returns the type behind aliases, pointers and references, at most `limit` steps away.
    template <class Path>
    ResolveResult<Path> resolve(const Runtime& runtime, const Path& path, const Datatype& type,
                                bool follow_indirections, bool datatype_mutex_held, ResolveSettings settings,
                                std::size_t limit = std::string::npos) const;
    /// Returns the name of the type at the end of all aliases, pointers and references. Also returns the attributes on
    /// the way.
    std::pair<std::string, Attributes> simple_resolve(const Runtime& runtime, const Datatype& type,
                                                      bool datatype_mutex_held = false) const;
    /// Translates a client's path. Never returns null. Success and failure are cached.
    std::shared_ptr<const TranslatePathResult> translate_path(const Runtime& runtime,
                                                              const UnqualifiedFdxPath& path) const;
    /// Lists the members of a path, or the top layer for the empty path. `out` is a Vector of Structs with "name",
    /// "path", "type", "size", "readOnly", "hidden" and "hasChildren".
    ZoHmiSrv::ExtensionResult browse(const std::string& name, const UnqualifiedFdxPath& parent, ZoHmiSrv::Value& out,
                                     bool with_hidden = false);
    /// Returns true for an attribute that clients do not see.
    [[nodiscard]] bool is_plc_attribute_ignored(const std::string& key) const;
    /// @}

    /// @name Handles
    /// @{
    /// Answers each request. One batch fetches the unknown handles. Blocks for its requests.
    void fetch_handles(const Runtime& runtime, std::span<HandleRequest> requests);
    /// Returns the failure for the code of an access by handle. If the target does not know the handle, drops it and
    /// marks a refresh as due.
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
