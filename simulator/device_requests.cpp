#include "simulator/device_requests.h"

#include "platform/link/event_record.h"
#include "platform/link/protocol.h"
#include "simulator/controller/groups.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace zo_sim {

namespace {

using nlohmann::json;
using zo_link::read_field;
namespace op = zo_link::op;

json answer_state(DeviceSystem& devices, std::uint32_t port) {
    const DeviceSystem::States states = devices.states(port);
    if (states.code != 0) return {{"result", states.code}};
    return {{"result", 0u}, {"fdx_state", states.fdx_state}, {"device_state", states.device_state}};
}

json answer_info(DeviceSystem& devices, std::uint32_t port) {
    const DeviceSystem::Info info = devices.info(port);
    if (info.code != 0) return {{"result", info.code}};
    const auto& version = info.version;
    return {{"result", 0u},
            {"name", info.name},
            {"version", json::array({version.version, version.revision, version.build})}};
}

/// Bytes that are fewer, more or other than the request asked for.
void spoil(Bytes& data, std::uint32_t length, const RequestPlan& plan) {
    if (plan.bytes) data = *plan.bytes;
    if (plan.missing != 0) data.resize(std::min<std::size_t>(data.size(), length - std::min(length, plan.missing)));
    // Bytes that no frame takes are not built.
    if (plan.extra != 0) data.resize(std::min(std::size_t{length} + plan.extra, 2 * max_answer_bytes));
}

} // namespace

std::string group_text(std::uint32_t group) {
    if (!group::is_known(group)) return "@other";
    char text[16];
    std::snprintf(text, sizeof text, "@0x%X", static_cast<unsigned>(group));
    return text;
}

std::optional<json> answer_device(DeviceSystem& devices, const std::string& operation, const json& fields,
                                  const RequestPlan& plan) {
    std::uint32_t port = 0;
    if (!read_field(fields, "port", port)) return std::nullopt;
    std::uint32_t group = 0;
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    Bytes data;
    const bool reads = operation == op::read || operation == op::read_write;
    const bool writes = operation == op::write || operation == op::read_write;
    if ((reads || writes) && (!read_field(fields, "group", group) || !read_field(fields, "offset", offset)))
        return std::nullopt;
    if (reads && !read_field(fields, "length", length)) return std::nullopt;
    if (writes && !read_field(fields, "data", data)) return std::nullopt;
    if (plan.code && *plan.code != 0) return json{{"result", *plan.code}};
    if (operation == op::device_state) return answer_state(devices, port);
    if (operation == op::device_info) return answer_info(devices, port);
    DeviceReply reply;
    if (operation == op::read)
        reply = devices.read(port, group, offset, length);
    else if (operation == op::write)
        reply = devices.write(port, group, offset, data);
    else
        reply = devices.read_write(port, group, offset, length, data);
    if (reply.code != 0) return json{{"result", reply.code}};
    json answer = {{"result", 0u}};
    if (!reads) return answer;
    spoil(reply.data, length, plan);
    answer["data"] = json::binary(std::move(reply.data));
    return answer;
}

} // namespace zo_sim
