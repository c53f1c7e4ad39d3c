#include "device/runtime/state.h"

#include "device/code/result_codes.h"
#include "device/runtime/detail/browse.h"
#include "device/runtime/detail/handles.h"
#include "device/runtime/detail/path_translation.h"
#include "device/runtime/detail/path_walk.h"
#include "device/runtime/detail/runtime_entry.h"
#include "device/runtime/detail/type_lookup.h"
#include "device/runtime/detail/upload.h"
#include "device/runtime/detail/upload_entries.h"
#include "device/runtime/upload_info_analyzer.h"
#include "extension/host/value.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::ExtensionResultStream;
using ZoHmiSrv::MutexLock;

State::State(StateOptions options) : options_(std::move(options)), runtimes_(std::make_unique<Runtimes>()) {
}

State::~State() = default;

ExtensionResult State::configure(const FdxRuntime& runtime) {
    return runtimes_->at(runtime.name())->configure(runtime, options_);
}

State::Runtime State::runtime_config(const std::string& name) {
    return runtimes_->at(name)->config();
}

void State::clear_runtime(const std::string& name) {
    runtimes_->at(name)->clear();
}

ExtensionResult State::refresh(const std::string& name) {
    return refresh_runtime(*this, *runtimes_->at(name), options_);
}

bool State::refresh_due(const std::string& name) const {
    return runtimes_->find(name)->refresh_due();
}

ExtensionResult State::availability(const std::string& name) const {
    return runtimes_->find(name)->availability();
}

SymbolsInfo State::symbols_info(const std::string& name) const {
    return runtimes_->find(name)->info();
}

TranslatedState State::connection_state(const std::string& name) {
    const auto entry = runtimes_->find(name);
    const auto connection = entry->connection();
    if (const ExtensionResult refused = entry->refused(); is_error(refused) || !connection)
        return connection_state_from_error(refused.code(), refused.text());
    const auto [fdx_state, device_state, code] = connection->proxy.state();
    if (is_error(code)) return connection_state_from_error(code, {});
    const ExtensionResult last = entry->info().last_refresh;
    if (last.code() == HMI_FDX_E_UPLOAD_DATA) return connection_state_from_error(last.code(), last.text());
    return translate_state(nFdxState(fdx_state));
}

ExtensionResult State::add_symbols(const Runtime& runtime, View block) {
    std::size_t count = 0;
    return add_symbol_block(*runtime, block, count);
}

ExtensionResult State::add_datatypes(const Runtime& runtime, View block) {
    std::size_t count = 0;
    return add_datatype_block(*runtime, block, count);
}

ExtensionResult State::add_datatype(const Runtime& runtime, View entry) {
    EntryReader reader(entry);
    auto type = read_datatype_entry(reader.entry(datatype_head_size), runtime->code_page());
    if (!type)
        return ExtensionResultStream(HMI_FDX_E_UPLOAD_DATA, runtime->runtime_revision().name())
               << "Datatype entry is malformed";
    if (type->item_name.empty()) return {};
    const MutexLock lock(runtime->datatype_mutex());
    const std::string name = type->item_name;
    if (const auto stored = runtime->datatypes().get(name)) {
        if (stored->size() == type->size) return {};
        const std::int32_t size = type->size;
        *type = stored->description();
        type->size = size;
    }
    runtime->datatypes().set_impl_ptr(name, std::make_shared<const Datatype>(*std::move(type)));
    return {};
}

void State::update_attributes_based_on_symbol_entry(const Runtime& runtime, View entry) {
    // The answer is padded with zeros, or truncated.
    std::uint32_t length = 0;
    if (entry.size() >= sizeof length) std::memcpy(&length, entry.data(), sizeof length);
    entry = entry.first(std::min<std::size_t>(length, entry.size()));
    const auto symbol = read_symbol_entry(EntryReader(entry), runtime->code_page(), true);
    if (!symbol || !is_usable(*symbol) || symbol->info.attributes.empty()) return;
    const MutexLock lock(runtime->symbol_mutex());
    const auto stored = runtime->symbols().get(symbol->path);
    if (!stored || stored->attributes.size() >= symbol->info.attributes.size()) return;
    SymbolInfo updated = *stored;
    updated.attributes = symbol->info.attributes;
    runtime->symbols().set_impl(symbol->path, updated);
}

void State::preprocess_upload_info(const Runtime& runtime) {
    UploadInfoAnalyzer analyzer(*this, runtime);
    analyzer.infer_missing_datatypes();
    analyzer.mark_fields_of_topmost_layer();
    analyzer.mark_aliases();
    analyzer.resolve_items_of_enum_aliases();
}

void State::postprocess_upload_info(const Runtime& runtime) {
    (void)runtime->dummy_void_type(true);
    UploadInfoAnalyzer(*this, runtime).build_lookup_tables();
}

std::shared_ptr<const Datatype> State::datatype(const Runtime& runtime, const SanitizedUniqueFdxPath& path,
                                                const std::string& name, bool dialect, DatatypeStorage storage) const {
    return find_datatype(*runtime, path, name, dialect, storage);
}

template <class Path>
ResolveResult<Path> State::resolve(const Runtime& runtime, const Path& path, const Datatype& type,
                                   bool follow_indirections, bool datatype_mutex_held, ResolveSettings settings,
                                   std::size_t limit) const {
    return resolve_type(*runtime, path, type, follow_indirections, datatype_mutex_held, settings, limit);
}

template ResolveResult<UniqueFdxPath> State::resolve(const Runtime&, const UniqueFdxPath&, const Datatype&, bool, bool,
                                                     ResolveSettings, std::size_t) const;
template ResolveResult<SanitizedUniqueFdxPath> State::resolve(const Runtime&, const SanitizedUniqueFdxPath&,
                                                              const Datatype&, bool, bool, ResolveSettings,
                                                              std::size_t) const;

std::pair<std::string, Attributes> State::simple_resolve(const Runtime& runtime, const Datatype& type,
                                                         bool datatype_mutex_held) const {
    return simple_resolve_type(*runtime, type, datatype_mutex_held);
}

std::shared_ptr<const TranslatePathResult> State::translate_path(const Runtime& runtime,
                                                                 const UnqualifiedFdxPath& path) const {
    if (auto known = runtime->path_results().get(path)) return known;
    auto found = std::make_shared<const TranslatePathResult>(ZoHmiFdx::translate_path(*runtime, path));
    runtime->path_results().set(path, found);
    runtime->path_results().enforce_limit(options_.max_paths);
    return found;
}

ExtensionResult State::browse(const std::string& name, const UnqualifiedFdxPath& parent, ZoHmiSrv::Value& out,
                              bool with_hidden) {
    const auto entry = runtimes_->find(name);
    if (ExtensionResult refused = entry->names_availability(); is_error(refused)) return refused;
    const Runtime config = entry->config();
    if (parent.empty()) {
        browse_top_layer(*config, out, with_hidden);
        return {};
    }
    const auto translated = translate_path(config, parent);
    if (is_error(translated->result)) return translated->result;
    if (!with_hidden && config->is_hidden_or_not_whitelisted(translated->path.unique()))
        return symbol_not_found(parent.str());
    return browse_members(*config, *translated, out, with_hidden);
}

bool State::is_plc_attribute_ignored(const std::string& key) const {
    return Attributes::flags_by_key(key) != AttributesFlags::None;
}

void State::fetch_handles(const Runtime& runtime, std::span<HandleRequest> requests) {
    ZoHmiFdx::fetch_handles(*runtimes_->at(runtime->runtime_revision().name()), runtime, requests, options_);
}

ExtensionResult State::value_failure(const Runtime& runtime, const HandleRequest& used, int code) {
    return ZoHmiFdx::value_failure(*runtimes_->at(runtime->runtime_revision().name()), *runtime, used, code);
}

} // namespace ZoHmiFdx
