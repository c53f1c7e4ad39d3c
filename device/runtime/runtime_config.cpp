#include "device/runtime/runtime_config.h"

#include "device/code/code_page.h"
#include "device/runtime/detail/lookup_trie.h"

#include <stdexcept>
#include <utility>

namespace ZoHmiFdx {

using ZoHmiSrv::MutexLock;
using ZoHmiSrv::ValueType;

namespace {

bool is_structure(const Datatype& type) {
    return type.hmi_type() == ValueType::Map || type.hmi_type() == ValueType::Struct;
}

} // namespace

RuntimeConfig::RuntimeConfig(const std::string& name)
    : lookup_(std::make_shared<const LookupTrie>()), revision_(name, NrxAddr(), std::string()) {
}

RuntimeConfig::~RuntimeConfig() = default;

FdxRuntime RuntimeConfig::runtime_revision() const {
    const MutexLock lock(lookup_mutex_);
    return revision_;
}

void RuntimeConfig::set_runtime_revision(const FdxRuntime& revision) {
    const MutexLock lock(lookup_mutex_);
    revision_ = revision;
}

void RuntimeConfig::set_runtime_initialized() {
    const MutexLock lock(lookup_mutex_);
    revision_.set_initialized(true);
}

std::string RuntimeConfig::unique_config_revision() const {
    const MutexLock lock(lookup_mutex_);
    return unique_config_revision_;
}

void RuntimeConfig::set_unique_config_revision(std::string text) {
    const MutexLock lock(lookup_mutex_);
    unique_config_revision_ = std::move(text);
}

UploadInfo RuntimeConfig::upload_info() const {
    const MutexLock lock(lookup_mutex_);
    return upload_info_;
}

void RuntimeConfig::set_upload_info(const UploadInfo& info) {
    const MutexLock lock(lookup_mutex_);
    upload_info_ = info;
}

int RuntimeConfig::code_page() const {
    const std::uint32_t number = upload_info().code_page;
    return number == 0 ? code_page_windows1252 : static_cast<int>(number);
}

void RuntimeConfig::backup_unmodified_upload_info() {
    const MutexLock lock(datatype_mutex_);
    unmodified_.clear();
    for (auto& [name, type] : datatypes_.snapshot())
        unmodified_.set_impl_ptr(name, std::move(type));
}

std::shared_ptr<const Datatype> RuntimeConfig::dummy_void_type(bool create) {
    const MutexLock lock(datatype_mutex_);
    auto type = datatypes_.get("");
    if (type || !create) return type;
    DatatypeDescription description;
    description.flags = DatatypeFlags::Initial | DatatypeFlags::SizeZeroAllowed;
    type = std::make_shared<const Datatype>(std::move(description));
    datatypes_.set_impl_ptr({}, type);
    return type;
}

bool RuntimeConfig::handle_already_fetched(const UniqueFdxPath& path) const {
    const auto symbol = symbols_.get(path);
    return symbol && symbol->is_valid_handle();
}

bool RuntimeConfig::is_toplayer_field(const UniqueFdxPath& path) const {
    const auto symbol = symbols_.get(path);
    return symbol && symbol->is_toplayer_field;
}

bool RuntimeConfig::is_topmost_layer_by_path(const UniqueFdxPath& path, bool only_real) const {
    const std::string_view text = path.str();
    const auto is_part_of_the_way = [&](std::string_view prefix) {
        if (!only_real) return symbols_.contains(prefix);
        const auto symbol = symbols_.get(prefix);
        if (!symbol || symbol->is_valid_handle()) return symbol != nullptr;
        const MutexLock lock(symbol_mutex_);
        const auto fetched = is_own_record_.find(prefix);
        return fetched == is_own_record_.end() || !fetched->second;
    };
    // The first part of a global path is empty, and no symbol has an empty name.
    for (std::size_t end = text.find_first_of("#.[", 1); end < text.size(); end = text.find_first_of("#.[", end + 1))
        if (is_part_of_the_way(text.substr(0, end))) return false;
    return true;
}

LookupTable RuntimeConfig::get_lookup_table(LookupFlag flag) const {
    return lookup_tables()->table(flag);
}

bool RuntimeConfig::is_in_lookup_table(LookupFlag flag, const LookupFdxPath& path) const {
    if (path.empty()) return false;
    switch (flag) {
    case LookupFlag::ReadOnly:
    case LookupFlag::ShownRecursively:
    case LookupFlag::NotShown:
    case LookupFlag::Hidden:
        break;
    default:
        throw std::runtime_error("no flag set");
    }
    const MutexLock lock(lookup_mutex_);
    return has(lookup_->tables_of(path), flag);
}

LookupFlag RuntimeConfig::tables_of(const UniqueFdxPath& path) const {
    const MutexLock lock(lookup_mutex_);
    return lookup_->tables_of(path);
}

template <class Path>
bool RuntimeConfig::is_readonly_path(const Path& path) const {
    const MutexLock lock(lookup_mutex_);
    return has(lookup_->tables_of(path), LookupFlag::ReadOnly) || (!path.empty() && revision_.is_read_only());
}

template <class Path>
bool RuntimeConfig::is_hidden_path(const Path& path) const {
    const MutexLock lock(lookup_mutex_);
    const LookupFlag tables = lookup_->tables_of(path);
    if (has(tables, LookupFlag::Hidden)) return true;
    if (!revision_.uses_whitelisting() || has(tables, LookupFlag::ShownRecursively)) return false;
    return has(tables, LookupFlag::NotShown);
}

bool RuntimeConfig::is_readonly(const UniqueFdxPath& path) const {
    return is_readonly_path(path);
}

bool RuntimeConfig::is_readonly(const SanitizedUniqueFdxPath& path) const {
    return is_readonly_path(path);
}

bool RuntimeConfig::is_in_a_whitelisted_tree(const UniqueFdxPath& path) const {
    const MutexLock lock(lookup_mutex_);
    return has(lookup_->tables_of(path), LookupFlag::ShownRecursively);
}

bool RuntimeConfig::is_in_a_whitelisted_tree(const SanitizedUniqueFdxPath& path) const {
    const MutexLock lock(lookup_mutex_);
    return has(lookup_->tables_of(path), LookupFlag::ShownRecursively);
}

bool RuntimeConfig::is_hidden_or_not_whitelisted(const UniqueFdxPath& path) const {
    return is_hidden_path(path);
}

bool RuntimeConfig::is_hidden_or_not_whitelisted(const SanitizedUniqueFdxPath& path) const {
    return is_hidden_path(path);
}

void RuntimeConfig::set_lookup_tables(std::shared_ptr<const LookupTrie> tables) {
    const MutexLock lock(lookup_mutex_);
    lookup_.swap(tables);
}

std::shared_ptr<const LookupTrie> RuntimeConfig::lookup_tables() const {
    const MutexLock lock(lookup_mutex_);
    return lookup_;
}

std::vector<int> RuntimeConfig::store_handle(const UniqueFdxPath& path, const SymbolInfo& outcome,
                                             std::size_t max_paths) {
    const MutexLock lock(symbol_mutex_);
    const auto stored = symbols_.get(path);
    SymbolInfo symbol = stored ? *stored : outcome;
    symbol.handle = outcome.handle;
    symbol.handle_state = outcome.handle_state;
    symbol.handle_error = outcome.handle_error;
    symbols_.set_impl(path, symbol);
    if (is_own_record_.try_emplace(path, stored == nullptr).second) fetched_.push_back(path);

    std::vector<int> dropped;
    if (stored && stored->is_valid_handle() && stored->handle != outcome.handle)
        dropped.push_back(static_cast<int>(stored->handle));
    for (; fetched_.size() > max_paths; fetched_.pop_front())
        if (const int handle = forget_handle(fetched_.front()); handle != 0) dropped.push_back(handle);
    return dropped;
}

int RuntimeConfig::forget_handle(const UniqueFdxPath& path) {
    const auto symbol = symbols_.get(path);
    const auto fetched = is_own_record_.find(path);
    const bool is_own = fetched != is_own_record_.end() && fetched->second;
    if (fetched != is_own_record_.end()) is_own_record_.erase(fetched);
    if (!symbol) return 0;
    const int handle = symbol->is_valid_handle() ? static_cast<int>(symbol->handle) : 0;
    if (is_own) {
        symbols_.erase(path);
    } else {
        SymbolInfo without = *symbol;
        without.handle = 0;
        without.handle_state = 0;
        without.handle_error = 0;
        symbols_.set_impl(path, without);
    }
    return handle;
}

void RuntimeConfig::drop_handle(const UniqueFdxPath& path, std::uint32_t handle) {
    const MutexLock lock(symbol_mutex_);
    const auto symbol = symbols_.get(path);
    if (!symbol || symbol->handle != handle) return;
    SymbolInfo without = *symbol;
    without.handle = 0;
    without.handle_state = 0;
    symbols_.set_impl(path, without);
}

std::vector<int> RuntimeConfig::take_handles() {
    const MutexLock lock(symbol_mutex_);
    std::vector<int> handles;
    for (const UniqueFdxPath& path : fetched_)
        if (const int handle = forget_handle(path); handle != 0) handles.push_back(handle);
    fetched_.clear();
    return handles;
}

bool RuntimeConfig::is_potential_alias(const Datatype& type) noexcept {
    return type.hmi_type() != ValueType::Vector && type.item_name() != type.type_name() && !type.is_indirection();
}

bool RuntimeConfig::potential_alias_is_enum_alias(const Datatype& derived, const Datatype& base) noexcept {
    return base.hmi_type() != ValueType::Vector && base.count_enum_items() != 0 && !is_structure(derived) &&
           derived.count_enum_items() == 0;
}

bool RuntimeConfig::potential_alias_is_struct_alias(const Datatype& derived, const Datatype& base) noexcept {
    return is_structure(base) && base.count_subitems() != 0 && derived.count_subitems() == 0;
}

bool RuntimeConfig::potential_alias_is_alias_indirection(const Datatype& derived, const Datatype& base) noexcept {
    return base.hmi_type() != ValueType::Vector && base.is_indirection() && derived.count_subitems() == 0;
}

} // namespace ZoHmiFdx
