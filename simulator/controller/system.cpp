#include "simulator/controller/system.h"

#include "platform/link/routes.h"
#include "simulator/controller/groups.h"
#include "support/utf8.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace zo_sim {

namespace {

constexpr std::uint32_t router_port = 1;
constexpr std::uint32_t identity_port = 30;
constexpr std::uint32_t system_service_port = 10000;

using device_code::invalid_group;
using device_code::port_not_found;

constexpr std::uint32_t offset_all_remotes = 1;
constexpr std::uint32_t offset_remote_count = 2;
constexpr std::size_t router_name_size = 32;

bool has_service(std::uint32_t port) {
    return port == router_port || port == identity_port || port == system_service_port;
}

void append_number(Bytes& bytes, std::uint32_t number) {
    const auto* const start = reinterpret_cast<const std::uint8_t*>(&number);
    bytes.insert(bytes.end(), start, start + sizeof number);
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

/// Returns the text with its terminator; an empty text has none.
Bytes field(const std::string& text) {
    Bytes bytes(text.begin(), text.end());
    if (!text.empty()) bytes.push_back(0);
    return bytes;
}

/// Reads "3.1.4024.53" as numbers of 16 bits each.
std::vector<std::uint16_t> numbers_of(const Node& node, std::size_t count) {
    std::vector<std::uint16_t> numbers;
    std::string_view rest = node.text();
    while (!rest.empty() && numbers.size() < count) {
        std::uint16_t number = 0;
        const auto read = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        if (read.ec != std::errc()) break;
        numbers.push_back(number);
        rest.remove_prefix(static_cast<std::size_t>(read.ptr - rest.data()));
        if (rest.starts_with('.')) rest.remove_prefix(1);
    }
    if (!rest.empty() || numbers.size() != count) node.fail("must be " + std::to_string(count) + " numbers with dots");
    return numbers;
}

DeviceSystem::Version version_of(const Node& node) {
    const auto numbers = numbers_of(node, 3);
    if (numbers[0] > 255 || numbers[1] > 255) node.fail("begins with two numbers up to 255");
    return {static_cast<std::uint8_t>(numbers[0]), static_cast<std::uint8_t>(numbers[1]), numbers[2]};
}

DeviceReply cut(Bytes bytes, std::uint32_t length) {
    bytes.resize(std::min<std::size_t>(bytes.size(), length));
    return {0, std::move(bytes)};
}

} // namespace

DeviceSystem::DeviceSystem(const Node& scenario) {
    if (const auto system = scenario.find("system")) {
        exists_ = true;
        system->object({"id", "device", "product", "routes"});
        if (const auto id = system->find("id")) id_ = id->guid();
        if (const auto device = system->find("device")) {
            device->object({"name", "version"});
            device_name_ = device->at("name").text();
            device_version_ = version_of(device->at("version"));
        }
        if (const auto product = system->find("product")) product_ = numbers_of(*product, 4);
        if (const auto routes = system->find("routes"))
            routes->each_item([this](const Node& node) {
                node.object({"net_id", "name", "additional"});
                RouteRecord record{read_route(node), {}};
                if (const auto additional = node.find("additional"))
                    additional->each_item([&](const Node& entry) {
                        record.additional.push_back(read_route(entry.object({"net_id", "name"})));
                    });
                routes_.push_back(std::move(record));
            });
    }
    if (const auto controllers = scenario.find("controllers")) {
        exists_ = true;
        controllers->each_member([this](const std::string& key, const Node& node) {
            std::uint16_t port = 0;
            const auto read = std::from_chars(key.data(), key.data() + key.size(), port);
            if (read.ec != std::errc() || read.ptr != key.data() + key.size() || port == 0)
                node.fail("a controller's key is its port");
            if (has_service(port)) node.fail("the port has a service already");
            if (const auto version = node.find("version")) versions_[port] = version_of(*version);
            controllers_[port] = std::make_unique<Controller>(node);
        });
    }
}

DeviceSystem::Route DeviceSystem::read_route(const Node& node) {
    const auto net_id = zo_link::parse_net_id(node.at("net_id").text());
    if (!net_id) node.at("net_id").fail("must be six numbers with dots");
    const auto name = node.find("name");
    return {Bytes(net_id->begin(), net_id->end()), name ? name->text() : std::string()};
}

Controller* DeviceSystem::controller(std::uint32_t port) {
    const auto found = controllers_.find(port);
    return found == controllers_.end() ? nullptr : found->second.get();
}

DeviceReply DeviceSystem::read(std::uint32_t port, std::uint32_t group, std::uint32_t offset, std::uint32_t length) {
    if (port == router_port) return read_router(group, offset, length);
    if (port == identity_port) return read_identity(group, offset, length);
    if (port == system_service_port) return read_system_service(group, offset, length);
    Controller* const found = controller(port);
    return found ? found->read(group, offset, length) : DeviceReply{port_not_found, {}};
}

DeviceReply DeviceSystem::write(std::uint32_t port, std::uint32_t group, std::uint32_t offset, Controller::View data) {
    if (has_service(port)) return {invalid_group, {}};
    Controller* const found = controller(port);
    return found ? found->write(group, offset, data) : DeviceReply{port_not_found, {}};
}

DeviceReply DeviceSystem::read_write(std::uint32_t port, std::uint32_t group, std::uint32_t offset,
                                     std::uint32_t length, Controller::View data) {
    if (has_service(port)) return {invalid_group, {}};
    Controller* const found = controller(port);
    return found ? found->read_write(group, offset, length, data) : DeviceReply{port_not_found, {}};
}

DeviceSystem::States DeviceSystem::states(std::uint32_t port) {
    if (has_service(port)) return {0, 5, 0};
    Controller* const found = controller(port);
    return found ? States{0, found->state(), 0} : States{port_not_found, 0, 0};
}

DeviceSystem::Info DeviceSystem::info(std::uint32_t port) {
    if (port == system_service_port) return {0, device_name_, device_version_};
    Controller* const found = controller(port);
    if (!found) return {port_not_found, {}, {}};
    const auto version = versions_.find(port);
    return {0, found->name(), version == versions_.end() ? Version() : version->second};
}

DeviceReply DeviceSystem::read_router(std::uint32_t group, std::uint32_t offset, std::uint32_t length) const {
    if (group != group::remotes) return {invalid_group, {}};
    Bytes bytes;
    if (offset == offset_remote_count) {
        append_number(bytes, static_cast<std::uint32_t>(routes_.size()));
    } else if (offset == offset_all_remotes) {
        for (const RouteRecord& record : routes_) {
            std::string name = ZoHmiSrv::UTF8::utf8_to_windows1252(record.main.name);
            name.resize(router_name_size);
            bytes.resize(bytes.size() + 16);
            bytes.insert(bytes.end(), name.begin(), name.end());
            bytes.resize(bytes.size() + 4);
            append(bytes, record.main.net_id);
        }
    } else {
        return {device_code::invalid_offset, {}};
    }
    return cut(std::move(bytes), length);
}

DeviceReply DeviceSystem::read_identity(std::uint32_t group, std::uint32_t offset, std::uint32_t length) const {
    if (group != group::system_id || offset != 1) return {invalid_group, {}};
    Bytes bytes(sizeof id_);
    std::memcpy(bytes.data(), &id_, sizeof id_);
    return cut(std::move(bytes), length);
}

// The main name is sent unchanged, the additional ones in Windows-1252.
DeviceReply DeviceSystem::read_system_service(std::uint32_t group, std::uint32_t offset, std::uint32_t length) const {
    Bytes bytes;
    if (group == group::product_version) {
        for (const std::uint16_t number : product_) {
            bytes.push_back(static_cast<std::uint8_t>(number));
            bytes.push_back(static_cast<std::uint8_t>(number >> 8));
        }
        return cut(std::move(bytes), length);
    }
    if (group != group::enumerate_remote) return {invalid_group, {}};
    if (offset >= routes_.size()) return {device_code::not_found, {}};
    const RouteRecord& record = routes_[offset];
    const Bytes name = field(record.main.name);
    append(bytes, record.main.net_id);
    bytes.resize(32);
    append_number(bytes, 0);
    append_number(bytes, static_cast<std::uint32_t>(name.size()));
    append_number(bytes, static_cast<std::uint32_t>(record.additional.size()));
    append(bytes, name);
    for (const Route& route : record.additional) {
        const Bytes additional = field(ZoHmiSrv::UTF8::utf8_to_windows1252(route.name));
        append(bytes, route.net_id);
        bytes.resize(bytes.size() + 14);
        append_number(bytes, static_cast<std::uint32_t>(additional.size()));
        append(bytes, additional);
    }
    return cut(std::move(bytes), length);
}

} // namespace zo_sim
