#include "platform/link/request_table.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace zo_link {

using nlohmann::json;

bool RequestTable::exhausted() const {
    return full() && std::ranges::all_of(pending_, [](const auto& entry) { return entry.second.abandoned; });
}

bool RequestTable::take(std::uint32_t id, std::uint32_t result, json& map, std::size_t size, std::uint64_t mark) {
    if (id > last_id_) return false;
    const auto it = pending_.find(id);
    if (it == pending_.end()) return false; // already answered
    Pending& request = it->second;
    if (request.done) return false;
    const auto more = map.find("more");
    if (request.abandoned) {
        if (failed(result) || more == map.end() || *more != true) pending_.erase(it);
        return true;
    }
    if (!failed(result)) {
        const auto items = map.find("items");
        if (items != map.end()) {
            request.bytes += size;
            if (!items->is_array() || request.bytes > max_list_bytes ||
                request.items.size() + items->size() > max_list_items)
                return false;
            std::ranges::move(items->get_ref<json::array_t&>(), std::back_inserter(request.items));
        }
        if (more != map.end() && !more->is_boolean()) return false;
        if (more != map.end() && more->get<bool>()) return true;
        if (items != map.end()) *items = std::move(request.items);
        request.reply.body = std::make_shared<json>(std::move(map));
    }
    request.reply.result = result;
    request.reply.mark = mark;
    request.done = true;
    answered_.notify_all();
    return true;
}

Reply RequestTable::wait(std::unique_lock<std::mutex>& lock, std::uint32_t id,
                         std::chrono::steady_clock::time_point deadline) {
    const auto it = pending_.find(id);
    Reply reply;
    if (answered_.wait_until(lock, deadline, [&] { return it->second.done; })) {
        reply = std::move(it->second.reply);
        pending_.erase(it);
    } else {
        reply.result = code::timeout;
        it->second = Pending();
        it->second.abandoned = true;
    }
    return reply;
}

void RequestTable::end(std::uint32_t result) {
    for (auto& [id, request] : pending_) {
        if (request.done || request.abandoned) continue;
        request.done = true;
        request.reply = Reply();
        request.reply.result = result;
    }
    answered_.notify_all();
}

} // namespace zo_link
