#include "device/runtime/detail/upload.h"

#include "device/code/result_codes.h"
#include "device/runtime/state.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::ExtensionResultStream;

namespace {

constexpr std::uint64_t max_chunk = 64 * 1024;
constexpr int max_tries = 3;
constexpr int invalid_offset = 0x703; // the offset of a chunk is beyond the end of its block

/// The requests and records of one refresh.
class Upload {
public:
    Upload(State& state, const RuntimeEntry::Refresh& refresh, const StateOptions& options)
        : state_(state), refresh_(refresh), proxy_(refresh.connection->proxy), options_(options),
          name_(refresh.description.name()) {}

    ExtensionResult read_info(UploadInfo& info) {
        const auto [bytes, code] = proxy_.upload_info(sizeof info);
        if (is_error(code)) return device_failure(code, name_);
        const auto read = UploadInfo::read(bytes);
        if (!read) return failure() << "Upload info is too short";
        info = *read;
        refresh_.connection->cache->revision = info.revision;
        return {};
    }

    /// Fills a new config with the upload that `info` announces.
    ExtensionResult fill(const UploadInfo& info, std::shared_ptr<RuntimeConfig>& fresh) {
        total_ = std::uint64_t{info.symbol_bytes} + info.datatype_bytes;
        done_ = 0;
        if (total_ > options_.max_upload_bytes)
            return ExtensionResultStream(HMI_FDX_E_REQUEST_TOO_LARGE, name_)
                   << "Upload of " << total_ << " bytes exceeds the maximum of " << options_.max_upload_bytes;
        fresh = std::make_shared<RuntimeConfig>(name_);
        fresh->set_runtime_revision(refresh_.description);
        fresh->set_upload_info(info);

        std::size_t count = 0;
        ExtensionResult result =
            read_block("datatypes", info.datatype_bytes, &RequestProxy::datatype_descriptions_chunk);
        if (!is_error(result)) result = add_datatype_block(*fresh, block_, count);
        if (!is_error(result)) result = check_count("datatypes", info.datatypes, count);
        if (!is_error(result))
            result = read_block("symbols", info.symbol_bytes, &RequestProxy::symbol_descriptions_chunk);
        if (!is_error(result)) result = add_symbol_block(*fresh, block_, count);
        if (!is_error(result)) result = check_count("symbols", info.symbols, count);
        block_ = {};
        if (is_error(result)) return result;

        fresh->backup_unmodified_upload_info();
        state_.preprocess_upload_info(fresh);
        state_.postprocess_upload_info(fresh);
        fresh->set_runtime_initialized();
        fresh->set_unique_config_revision(name_ + ":" + std::to_string(info.revision) + ":" +
                                          std::to_string(fresh->symbols().size()) + ":" +
                                          std::to_string(fresh->datatypes().size()));
        return {};
    }

    /// Retries until the revision is the same before and after the upload.
    ExtensionResult run(UploadInfo info, std::shared_ptr<RuntimeConfig>& fresh) {
        for (int tries = 0; tries < max_tries; ++tries) {
            const ExtensionResult filled = fill(info, fresh);
            // A change during the upload makes a block look malformed, or ends it early. After any other failure there
            // is no retry.
            if (is_error(filled) && filled.code() != HMI_FDX_E_UPLOAD_DATA && filled.code() != invalid_offset)
                return filled;
            UploadInfo behind;
            const ExtensionResult read = read_info(behind);
            if (!is_error(read) && behind.revision != info.revision) {
                info = behind;
                continue;
            }
            return is_error(filled) ? filled : read;
        }
        return ExtensionResultStream(HMI_FDX_E_PENDING_ONLINE_CHANGE, name_)
               << "Symbol information changed during each of " << max_tries << " uploads";
    }

private:
    ExtensionResultStream failure() const { return {HMI_FDX_E_UPLOAD_DATA, name_}; }

    using ReadChunk = RequestProxy::Data (RequestProxy::*)(std::uint32_t offset, std::uint64_t size);
    ExtensionResult read_block(const char* kind, std::uint32_t size, ReadChunk read_chunk) {
        block_.clear();
        while (block_.size() < size) {
            const std::uint64_t wanted =
                std::min({size - block_.size(), max_chunk, options_.limits.response_size_limit});
            const auto [bytes, code] = (proxy_.*read_chunk)(static_cast<std::uint32_t>(block_.size()), wanted);
            if (is_error(code)) return device_failure(code, name_);
            if (bytes.empty()) return failure() << "Upload of " << kind << " ended early";
            block_.insert(block_.end(), bytes.begin(), bytes.end());
            done_ += bytes.size();
            if (options_.progress) options_.progress(done_, total_);
        }
        return {};
    }
    ExtensionResult check_count(const char* kind, std::size_t announced, std::size_t count) const {
        if (announced == count) return {};
        return failure() << "Upload announced " << announced << " " << kind << " but has " << count;
    }

    State& state_;
    const RuntimeEntry::Refresh& refresh_;
    RequestProxy& proxy_;
    const StateOptions& options_;
    const std::string name_;
    std::vector<unsigned char> block_;
    std::uint64_t done_ = 0;
    std::uint64_t total_ = 0;
};

} // namespace

ExtensionResult refresh_runtime(State& state, RuntimeEntry& entry, const StateOptions& options) {
    RuntimeEntry::Refresh refresh(entry);
    if (is_error(refresh.refused)) return refresh.refused;
    Upload upload(state, refresh, options);
    UploadInfo info;
    ExtensionResult result = upload.read_info(info);
    if (is_error(result)) return refresh.conclude(result, nullptr);
    if (refresh.is_filled && info == refresh.config->upload_info()) return refresh.conclude({}, nullptr);

    refresh.begin_upload();
    std::shared_ptr<RuntimeConfig> fresh;
    result = upload.run(info, fresh);
    result = refresh.conclude(result, is_error(result) ? nullptr : fresh);
    if (!is_error(result)) {
        // The target drops the handles with the change, or now.
        const std::vector<int> handles = refresh.config->take_handles();
        if (!handles.empty()) (void)refresh.connection->proxy.release_handles(handles);
    }
    return result;
}

} // namespace ZoHmiFdx
