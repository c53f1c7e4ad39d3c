#include "device/runtime/detail/handles.h"

#include "device/code/code_page.h"
#include "device/code/result_codes.h"
#include "device/request/index_groups.h"
#include "device/request/request_batch.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResult;

namespace {

constexpr int handle_is_unknown = 0x711;

/// One call of `fetch_handles`. Known handles are answered at once; one batch fetches the others.
class Fetch {
public:
    Fetch(RuntimeEntry& entry, RuntimeConfig& config, std::span<HandleRequest> requests, const StateOptions& options)
        : entry_(entry), config_(config), requests_(requests),
          max_paths_(std::max(options.max_paths, requests.size())) {}

    void run(RuntimeConnection& connection) {
        const int code_page = config_.code_page();
        for (HandleRequest& request : requests_)
            if (!answer_known(request)) add(request, code_page);
        if (items_.empty()) return;
        const std::size_t info_item =
            batch_.add_read_write(group_upload_info, 0, static_cast<std::uint32_t>(sizeof(UploadInfo)), {});
        batch_.send(connection.proxy);
        if (is_error(batch_.code(info_item))) {
            answer_all(device_failure(batch_.code(info_item), config_.runtime_revision().name()));
            collect_created();
        } else if (!is_revision_of_config(info_item, connection)) {
            entry_.note_stale(config_);
            answer_all(entry_.waits_for_refresh());
            collect_created();
        } else {
            for (const auto& [path, item] : items_)
                store(path, item);
            answer_from_items();
        }
        if (!unneeded_.empty()) (void)connection.proxy.release_handles(unneeded_);
    }

private:
    struct Item {
        std::size_t number;
        bool as_target;
        ExtensionResult result;
        std::uint32_t handle = 0;
    };

    bool answer_known(HandleRequest& request) const {
        request.result = {};
        request.handle = 0;
        const auto symbol = config_.symbols().get(request.path);
        if (!symbol) return false;
        if (symbol->is_valid_handle()) {
            request.handle = symbol->handle;
        } else if (!symbol->fetch_handle_worth_trying(request.as_target)) {
            request.result = device_failure(symbol->get_handle_error(), request.path.str());
        } else {
            return false;
        }
        return true;
    }
    void add(HandleRequest& request, int code_page) {
        if (items_.contains(request.path)) return;
        try {
            const std::string name = utf8_to_codepage(to_native(request.path).str(), code_page);
            const RequestBatch::View bytes(reinterpret_cast<const unsigned char*>(name.data()), name.size());
            const std::size_t number = batch_.add_read_write(group_handle_by_name, 0, sizeof(std::uint32_t), bytes);
            items_.emplace(request.path, Item{number, request.as_target, {}});
        } catch (const std::range_error&) {
            request.result = ZoHmiSrv::ExtensionResultStream(HMI_FDX_E_INVALID_SYMBOL, request.path.str())
                             << "Path is not valid UTF-8";
        }
    }
    bool is_revision_of_config(std::size_t info_item, RuntimeConnection& connection) const {
        const auto info = UploadInfo::read(batch_.bytes(info_item));
        if (!info) return false;
        connection.cache->revision = info->revision;
        return info->revision == config_.upload_info().revision;
    }
    std::uint32_t handle_of(const Item& item) const {
        std::uint32_t handle = 0;
        const RequestBatch::View bytes = batch_.bytes(item.number);
        if (!is_error(batch_.code(item.number)) && bytes.size() >= sizeof handle)
            std::memcpy(&handle, bytes.data(), sizeof handle);
        return handle;
    }
    void store(const UniqueFdxPath& path, const Item& item) {
        SymbolInfo outcome;
        outcome.handle = handle_of(item);
        outcome.handle_error = batch_.code(item.number);
        outcome.handle_state = SymbolInfo::handle_valid;
        if (outcome.handle == 0) {
            outcome.handle_state = item.as_target ? SymbolInfo::handle_failed_as_target : SymbolInfo::handle_failed;
            if (!is_error(outcome.handle_error)) outcome.handle_error = HMI_FDX_E_INVALID_SYMBOL_HANDLE;
        }
        const std::vector<int> dropped = config_.store_handle(path, outcome, max_paths_);
        unneeded_.insert(unneeded_.end(), dropped.begin(), dropped.end());
    }
    void answer_from_items() {
        for (HandleRequest& request : requests_) {
            const auto item = items_.find(request.path);
            if (item == items_.end()) continue;
            request.handle = handle_of(item->second);
            if (request.handle != 0) continue;
            const int code = batch_.code(item->second.number);
            request.result =
                device_failure(is_error(code) ? code : HMI_FDX_E_INVALID_SYMBOL_HANDLE, request.path.str());
        }
    }
    /// A failure applies to known handles too: they are as stale as the new ones.
    void answer_all(const ExtensionResult& result) {
        for (HandleRequest& request : requests_) {
            if (is_error(request.result)) continue;
            request.result = result;
            request.handle = 0;
        }
    }
    void collect_created() {
        for (const auto& [path, item] : items_)
            if (const std::uint32_t handle = handle_of(item); handle != 0)
                unneeded_.push_back(static_cast<int>(handle));
    }

    RuntimeEntry& entry_;
    RuntimeConfig& config_;
    const std::span<HandleRequest> requests_;
    const std::size_t max_paths_;
    RequestBatch batch_;
    std::unordered_map<UniqueFdxPath, Item, FdxPathHash, FdxPathEqual> items_;
    std::vector<int> unneeded_;
};

} // namespace

void fetch_handles(RuntimeEntry& entry, const std::shared_ptr<RuntimeConfig>& config, std::span<HandleRequest> requests,
                   const StateOptions& options) {
    ExtensionResult refused = entry.availability();
    if (!is_error(refused) && entry.config() != config) refused = entry.waits_for_refresh();
    const auto connection = entry.connection();
    if (!is_error(refused) && connection) {
        Fetch(entry, *config, requests, options).run(*connection);
        return;
    }
    for (HandleRequest& request : requests) {
        request.result = refused;
        request.handle = 0;
    }
}

ExtensionResult value_failure(RuntimeEntry& entry, RuntimeConfig& config, const HandleRequest& used, int code) {
    if (code != FDX_SYMBOL_NOT_FOUND && code != handle_is_unknown) return device_failure(code, used.path.str());
    config.drop_handle(used.path, used.handle);
    entry.note_stale(config);
    return entry.waits_for_refresh();
}

} // namespace ZoHmiFdx
