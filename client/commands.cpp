#include "client/commands.h"

#include "device/code/connection_state.h"
#include "device/request/routes.h"
#include "device/runtime/upload_info.h"
#include "extension/host/value.h"
#include "support/guid.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <optional>
#include <thread>

namespace fdx {

namespace {

using ZoHmiFdx::RequestProxy;

constexpr std::int64_t longest_sleep_ms = 3600000;
constexpr std::uint16_t identity_port = 30;

std::string hex_of(const RequestProxy::Bytes& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

/// Reads "0a0b", or "text:..." for the bytes of a text.
std::optional<RequestProxy::Bytes> bytes_of(const std::string& word) {
    constexpr std::string_view prefix = "text:";
    if (word.starts_with(prefix)) return RequestProxy::Bytes(word.begin() + prefix.size(), word.end());
    RequestProxy::Bytes bytes;
    for (std::size_t i = 0; i < word.size(); i += 2) {
        unsigned char byte = 0;
        const auto read = std::from_chars(word.data() + i, word.data() + std::min(i + 2, word.size()), byte, 16);
        if (i + 2 > word.size() || read.ec != std::errc() || read.ptr != word.data() + i + 2) return std::nullopt;
        bytes.push_back(byte);
    }
    return bytes;
}

// raw read GROUP OFFSET LENGTH, raw write GROUP OFFSET BYTES, raw readwrite GROUP OFFSET LENGTH BYTES
void raw(Device& device, Output& output, const Call& call) {
    const auto& words = call.words;
    const bool reads = words[0] != "write";
    const bool writes = words[0] != "read";
    const auto group = parse_number(words[1]);
    const auto offset = parse_number(words[2]);
    const auto length = reads ? parse_number(words[3]) : 0u;
    const auto data = writes ? bytes_of(words.back()) : RequestProxy::Bytes();
    if (!group || !offset || !length) return output.usage_error("raw: groups, offsets and lengths are numbers");
    if (!data) return output.usage_error("raw: bytes are hexadecimal digits, two a byte, or text:TEXT");
    const std::string noun = "raw " + words[0] + " " + words[1] + " " + words[2];
    int code = 0;
    RequestProxy::Bytes answer;
    if (!reads) {
        code = device.requests().write_data_to(*group, *offset, *data);
    } else if (!writes) {
        std::tie(answer, code) = device.requests().data_at(*group, *offset, *length);
    } else {
        std::uint32_t came = 0;
        answer = device.requests().data_by_handle_helper(*group, *offset, *length, *data, code, came);
        answer.resize(std::min<std::size_t>(answer.size(), came));
    }
    if (code != 0) return output.fail(noun, code);
    if (!reads) return;
    output.begin({"bytes", "count"});
    output.row({hex_of(answer), answer.size()});
    output.end();
}

// routes [NETID]
void routes(Device& device, Output& output, const Call& call) {
    ZoHmiFdx::NrxAddr target = device.address();
    if (!call.words.empty()) {
        const auto given = parse_address(call.words[0]);
        if (!given) return output.usage_error("routes: '" + call.words[0] + "' is no net id");
        target = *given;
    }
    output.begin({"from", "name", "net_id"});
    const auto list = [&](const char* from, auto fetch) {
        ZoHmiSrv::Value found;
        const auto result = fetch(device.port(), target.net_id, found);
        for (auto route = found.begin_vector(); route != found.end_vector(); ++route)
            output.row({from, (*route)["name"].get_string(), (*route)["value"].get_string()});
        if (result.code() != 0) output.fail("routes of " + to_string(target.net_id), result);
    };
    list("router", &ZoHmiFdx::Routes::fetch_routes_from_router);
    list("service", &ZoHmiFdx::Routes::fetch_routes_from_sys_service);
    output.end();
}

void state(Device& device, Output& output, const Call&) {
    const auto [fdx_state, device_state, code] = device.requests().state();
    if (code != 0) return output.fail("state", code);
    const auto number = static_cast<ZoHmiFdx::nFdxState>(fdx_state);
    output.begin({"state", "number", "device_state", "available"});
    output.row({ZoHmiFdx::to_string(number), fdx_state, device_state, ZoHmiFdx::translate_state(number).available});
    output.end();
}

// One request for each line, because a target may have only some of them.
void info(Device& device, Output& output, const Call&) {
    RequestProxy& requests = device.requests();
    output.begin({"field", "value"});
    const auto show = [&](const char* field, int code, auto value) {
        if (code == 0)
            output.row({field, value()});
        else
            output.fail(field, code);
        return code == 0;
    };
    const auto device_info = requests.device_info();
    if (show("device", std::get<2>(device_info), [&] { return std::get<0>(device_info); }))
        output.row({"version", to_string(std::get<1>(device_info))});
    const auto product = requests.full_product_version();
    show("product", product.second, [&] {
        std::string text;
        for (std::size_t i = 0; i + 1 < product.first.size(); i += 2)
            text += (text.empty() ? "" : ".") + std::to_string(product.first[i] | product.first[i + 1] << 8);
        return text;
    });
    // The identity has its own port.
    RequestProxy identity(static_cast<unsigned long>(device.port()), {device.address().net_id, identity_port}, {},
                          false, {});
    const auto id = identity.system_id();
    show("system_id", id.second, [&] { return ZoHmiSrv::Algorithm::uuid_to_string(id.first, false); });
    const auto upload_bytes = requests.upload_info(sizeof(ZoHmiFdx::UploadInfo));
    const auto upload = ZoHmiFdx::UploadInfo::read(upload_bytes.first);
    if (!show("revision", upload_bytes.second, [&] { return upload ? upload->revision : 0; }) || !upload)
        return output.end();
    output.row({"symbols", upload->symbols});
    output.row({"datatypes", upload->datatypes});
    output.row({"upload_bytes", std::uint64_t{upload->symbol_bytes} + upload->datatype_bytes});
    output.row({"code_page", upload->code_page == 0 ? 1252 : upload->code_page});
    output.end();
}

void sleep(Device&, Output& output, const Call& call) {
    const auto time = parse_number(call.words[0]);
    if (!time || *time > longest_sleep_ms) return output.usage_error("sleep: the time is a number of milliseconds");
    std::this_thread::sleep_for(std::chrono::milliseconds(*time));
}

} // namespace

CLI::App* add_command(CLI::App& app, Call& call, const char* name, const char* description,
                      void (*run)(Device&, Output&, const Call&)) {
    CLI::App* const command = app.add_subcommand(name, description);
    command->callback([&call, run] { call.run = run; });
    return command;
}

void add_commands(CLI::App& app, Call& call) {
    CLI::App* const requests = app.add_subcommand("raw", "one request: read, write or readwrite");
    requests->require_subcommand(1);
    struct Kind {
        const char* name;
        const char* usage;
        int words;
    };
    for (const Kind& kind : {Kind{"read", "GROUP OFFSET LENGTH", 3}, Kind{"write", "GROUP OFFSET BYTES", 3},
                             Kind{"readwrite", "GROUP OFFSET LENGTH BYTES", 4}}) {
        CLI::App* const command = requests->add_subcommand(kind.name, kind.usage);
        command->add_option("words", call.words, kind.usage)->expected(kind.words)->required();
        command->callback([&call, name = kind.name] {
            call.words.insert(call.words.begin(), name);
            call.run = raw;
        });
    }
    add_command(app, call, "routes", "the routes that a target knows", routes)
        ->add_option("NETID", call.words, "another target")
        ->expected(0, 1);
    add_command(app, call, "state", "the state of the device", state);
    add_command(app, call, "info", "device, product, system and upload", info);
    add_command(app, call, "sleep", "waits", sleep)->add_option("MS", call.words)->expected(1)->required();
    add_symbol_commands(app, call);
}

void run_line(Device& device, Output& output, const std::string& line) {
    const auto start = line.find_first_not_of(" \t\r");
    if (start == line.npos || line[start] == '#') return;
    Call call;
    CLI::App app("", "zo-fdx");
    add_commands(app, call);
    app.require_subcommand(1);
    try {
        app.parse(line.substr(start, line.find_last_not_of(" \t\r") + 1 - start));
    } catch (const CLI::Success& help) {
        app.exit(help);
        return;
    } catch (const CLI::ParseError& error) {
        return output.usage_error(std::string("'") + line.substr(start) + "': " + error.what());
    }
    if (call.run) call.run(device, output, call);
}

} // namespace fdx
