#pragma once

#include "device/runtime/runtime_config.h"
#include "device/type/datatype.h"
#include "device/type/datatype_flags.h"
#include "support/export.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace ZoHmiFdx {

class LookupTrieBuilder;
class State;

/// Prepares an upload for use: visits the symbols and types of a config and replaces records. Call the operations in
/// the order of their declaration. One thread at a time.
class ZO_EXPORT UploadInfoAnalyzer {
public:
    UploadInfoAnalyzer(State& state, std::shared_ptr<RuntimeConfig> config);

    /// Infers every type that a type or symbol names and that was not uploaded. A name that describes no type gets an
    /// empty record. A type that contains itself by value becomes an empty record too.
    void infer_missing_datatypes();
    void mark_fields_of_topmost_layer();
    void mark_aliases();
    /// Copies the enumerators of enumerations to their aliases.
    void resolve_items_of_enum_aliases();
    /// Replaces the tables in one step.
    void build_lookup_tables();

private:
    enum class Visit : char { Open, Done };
    using Visits = std::unordered_map<std::string, Visit>;

    void empty_types_inside_themselves() ZO_REQUIRES(config_->datatype_mutex());
    void mark_aliases_helper(std::string name, Visits& visits) ZO_REQUIRES(config_->datatype_mutex());
    void mark_type(const Datatype& type) ZO_REQUIRES(config_->datatype_mutex());
    void mark_array(const Datatype& array) ZO_REQUIRES(config_->datatype_mutex());
    void make_array(const Datatype& alias, const Datatype& base) ZO_REQUIRES(config_->datatype_mutex());
    void mark_alias(const Datatype& type, std::uint32_t flags) ZO_REQUIRES(config_->datatype_mutex());
    void build_lookup_tables_for_datatype(LookupTrieBuilder& tables, const std::string& name, const Datatype& type)
        ZO_REQUIRES(config_->datatype_mutex());

    State& state_;
    const std::shared_ptr<RuntimeConfig> config_;
};

} // namespace ZoHmiFdx
