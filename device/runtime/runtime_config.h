#pragma once

#include "device/path/symbol_path.h"
#include "device/request/fdx_runtime.h"
#include "device/request/symbol_info.h"
#include "device/runtime/limited_concurrent_map.h"
#include "device/runtime/lookup_flag.h"
#include "device/runtime/lookup_table_entry.h"
#include "device/runtime/shared_lookup_table.h"
#include "device/runtime/translate_path_result.h"
#include "device/runtime/upload_info.h"
#include "device/type/datatype.h"
#include "support/export.h"
#include "support/mutex.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace ZoHmiFdx {

class LookupTrie;

/// All data of one runtime between two online changes. Records are constants behind shared pointers. A refresh replaces
/// the config; users of the old one can still use it, unchanged.
///
/// Locks, outer to inner: symbol mutex, datatype mutex, lookup mutex. The locks of the tables are leaves. No request is
/// sent under any of them. [any thread]
class ZO_EXPORT RuntimeConfig {
public:
    using Symbols = SharedLookupTable<UniqueFdxPath, const SymbolInfo, true>;
    using Datatypes = SharedLookupTable<std::string, const Datatype, true>;
    using PathResults = LimitedConcurrentMap<UnqualifiedFdxPath, TranslatePathResult>;

    explicit RuntimeConfig(const std::string& name = {});
    ~RuntimeConfig();
    RuntimeConfig(const RuntimeConfig&) = delete;
    RuntimeConfig& operator=(const RuntimeConfig&) = delete;

    /// @name Description
    /// @{
    [[nodiscard]] FdxRuntime runtime_revision() const;
    void set_runtime_revision(const FdxRuntime& revision);
    void set_runtime_initialized();
    [[nodiscard]] std::string unique_config_revision() const;
    void set_unique_config_revision(std::string text);
    /// The announcement of the upload that filled the config.
    [[nodiscard]] UploadInfo upload_info() const;
    void set_upload_info(const UploadInfo& info);
    [[nodiscard]] int code_page() const;
    /// Bytes of a pointer or reference: 8, unless the upload has another size.
    [[nodiscard]] int pointer_size() const noexcept { return pointer_size_; }
    void set_pointer_size(int bytes) noexcept { pointer_size_ = bytes; }
    /// @}

    /// @name Records
    /// Lock the mutex to read and write a table in one step. Single operations need no mutex.
    /// @{
    [[nodiscard]] Symbols& symbols() noexcept { return symbols_; }
    [[nodiscard]] const Symbols& symbols() const noexcept { return symbols_; }
    [[nodiscard]] ZoHmiSrv::Mutex& symbol_mutex() const ZO_RETURN_CAPABILITY(symbol_mutex_) { return symbol_mutex_; }
    [[nodiscard]] Datatypes& datatypes() noexcept { return datatypes_; }
    [[nodiscard]] const Datatypes& datatypes() const noexcept { return datatypes_; }
    [[nodiscard]] ZoHmiSrv::Mutex& datatype_mutex() const ZO_RETURN_CAPABILITY(datatype_mutex_) {
        return datatype_mutex_;
    }
    [[nodiscard]] PathResults& path_results() noexcept { return path_results_; }
    /// The types as uploaded.
    [[nodiscard]] const Datatypes& unmodified_upload_info() const noexcept { return unmodified_; }
    void backup_unmodified_upload_info();

    /// Returns the type with the empty name. If it is missing: with `create` creates it, else returns null.
    std::shared_ptr<const Datatype> dummy_void_type(bool create);

    /// Returns whether the symbol is stored with a valid handle.
    [[nodiscard]] bool handle_already_fetched(const UniqueFdxPath& path) const;
    /// Returns whether the symbol is marked as part of the top layer.
    [[nodiscard]] bool is_toplayer_field(const UniqueFdxPath& path) const;
    /// Returns whether no stored symbol is a parent of this path. With `only_real`, only symbols count that were
    /// uploaded or have a handle.
    [[nodiscard]] bool is_topmost_layer_by_path(const UniqueFdxPath& path, bool only_real) const;
    /// @}

    /// @name Paths
    /// Unknown paths are in no table, so a whitelist does not hide them. Rebuilt tables replace the old ones in one
    /// step.
    /// @{
    /// Returns a copy of one of the tables.
    [[nodiscard]] LookupTable get_lookup_table(LookupFlag flag) const;
    /// Throws `std::runtime_error` if the flag names no table and the path is not empty.
    [[nodiscard]] bool is_in_lookup_table(LookupFlag flag, const LookupFdxPath& path) const;
    /// Returns all tables that contain the path.
    [[nodiscard]] LookupFlag tables_of(const UniqueFdxPath& path) const;
    [[nodiscard]] bool is_readonly(const UniqueFdxPath& path) const;
    [[nodiscard]] bool is_readonly(const SanitizedUniqueFdxPath& path) const;
    [[nodiscard]] bool is_in_a_whitelisted_tree(const UniqueFdxPath& path) const;
    [[nodiscard]] bool is_in_a_whitelisted_tree(const SanitizedUniqueFdxPath& path) const;
    [[nodiscard]] bool is_hidden_or_not_whitelisted(const UniqueFdxPath& path) const;
    [[nodiscard]] bool is_hidden_or_not_whitelisted(const SanitizedUniqueFdxPath& path) const;
    /// For the analysis of an upload.
    void set_lookup_tables(std::shared_ptr<const LookupTrie> tables);
    [[nodiscard]] std::shared_ptr<const LookupTrie> lookup_tables() const;
    /// @}

    /// @name Handles
    /// @{
    /// Stores the result of a handle request. A path that was not uploaded gets its own record. If more than
    /// `max_paths` paths have a handle, evicts the oldest ones. Returns the valid handles that were dropped.
    std::vector<int> store_handle(const UniqueFdxPath& path, const SymbolInfo& outcome, std::size_t max_paths);
    /// Drops the handle of a path if it equals `handle`.
    void drop_handle(const UniqueFdxPath& path, std::uint32_t handle);
    /// Drops all handles and returns the valid ones.
    std::vector<int> take_handles();
    /// @}

    /// @name Aliases
    /// @{
    [[nodiscard]] static bool is_potential_alias(const Datatype& type) noexcept;
    [[nodiscard]] static bool potential_alias_is_enum_alias(const Datatype& derived, const Datatype& base) noexcept;
    [[nodiscard]] static bool potential_alias_is_struct_alias(const Datatype& derived, const Datatype& base) noexcept;
    [[nodiscard]] static bool potential_alias_is_alias_indirection(const Datatype& derived,
                                                                   const Datatype& base) noexcept;
    /// @}

private:
    template <class Path>
    bool is_readonly_path(const Path& path) const;
    template <class Path>
    bool is_hidden_path(const Path& path) const;
    /// Removes the handle from the record of `path`. Erases a record that exists only for the handle.
    int forget_handle(const UniqueFdxPath& path) ZO_REQUIRES(symbol_mutex_);

    Symbols symbols_;
    mutable ZoHmiSrv::Mutex symbol_mutex_;
    Datatypes datatypes_;
    mutable ZoHmiSrv::Mutex datatype_mutex_;
    Datatypes unmodified_;

    const std::unique_ptr<ZoHmiSrv::Mutex> lookup_mutex_holder_ = std::make_unique<ZoHmiSrv::Mutex>();
    ZoHmiSrv::Mutex& lookup_mutex_ = *lookup_mutex_holder_;
    std::shared_ptr<const LookupTrie> lookup_ ZO_GUARDED_BY(lookup_mutex_);
    FdxRuntime revision_ ZO_GUARDED_BY(lookup_mutex_);
    std::string unique_config_revision_ ZO_GUARDED_BY(lookup_mutex_);
    UploadInfo upload_info_ ZO_GUARDED_BY(lookup_mutex_);

    std::atomic<int> pointer_size_ = 8;
    PathResults path_results_;
    /// Paths whose handles were fetched, oldest first. The value is true if the path has its own record.
    std::deque<UniqueFdxPath> fetched_ ZO_GUARDED_BY(symbol_mutex_);
    std::unordered_map<UniqueFdxPath, bool, FdxPathHash, FdxPathEqual> is_own_record_ ZO_GUARDED_BY(symbol_mutex_);
};

} // namespace ZoHmiFdx
