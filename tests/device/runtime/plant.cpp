#include "tests/device/runtime/plant.h"

#include <algorithm>
#include <stdexcept>

using namespace ZoHmiFdx;
using fakes::Bytes;
using fakes::DeviceAnswer;
using fakes::DeviceRequest;
using zo_sim::UploadAttributes;
using zo_sim::UploadBytes;
using zo_sim::UploadEntry;
using zo_sim::UploadSymbol;

namespace plant {

UploadBytes Program::symbol_block() const {
    UploadBytes block;
    for (const UploadSymbol& one : symbols)
        append_symbol(block, one);
    return block;
}

UploadBytes Program::datatype_block() const {
    UploadBytes block;
    for (const UploadEntry& one : types)
        append_datatype(block, one);
    return block;
}

UploadBytes Program::info() const {
    return zo_sim::upload_info(symbol_block(), symbols.size(), datatype_block(), types.size(), revision, code_page);
}

UploadEntry member(const std::string& name, const std::string& type, std::uint32_t offset, std::uint32_t size,
                   UploadAttributes attributes) {
    UploadEntry entry;
    entry.name = name;
    entry.type = type;
    entry.offset = offset;
    entry.size = size;
    entry.attributes = std::move(attributes);
    return entry;
}

UploadEntry structure(const std::string& name, std::vector<UploadEntry> members) {
    UploadEntry entry;
    entry.name = name;
    for (const UploadEntry& one : members)
        entry.size = std::max(entry.size, one.offset + one.size);
    entry.members = std::move(members);
    return entry;
}

UploadEntry alias(const std::string& name, const std::string& type, std::uint32_t size, std::uint32_t code) {
    UploadEntry entry;
    entry.name = name;
    entry.type = type;
    entry.size = size;
    entry.code = code;
    return entry;
}

UploadSymbol symbol(const std::string& name, const std::string& type, std::uint32_t size, UploadAttributes attributes) {
    UploadSymbol entry;
    entry.name = name;
    entry.type = type;
    entry.size = size;
    entry.attributes = std::move(attributes);
    entry.group = 0x4020;
    return entry;
}

Program bottling() {
    const UploadAttributes hide{{"ZoHmiSymbol.Hide", ""}};
    Program program;
    UploadEntry state = alias("E_State", "INT", 2, 2);
    state.enumerators = {{"Fault", -1}, {"Stopped", 0}, {"Running", 2}};
    UploadEntry inlet = alias("T_Inlet", "REFERENCE TO ST_Valve", 8, 0x15);
    UploadEntry mode = structure("ST_Mode", {member("speed", "UINT", 2, 2)});
    for (const char* bit : {"auto", "manual", "step"}) {
        UploadEntry packed = member(bit, "BIT", static_cast<std::uint32_t>(mode.members.size()) - 1, 1);
        packed.counts_bits = true;
        mode.members.push_back(packed);
    }
    UploadEntry flags = structure("U_Flags", {member("word", "UINT", 0, 2), member("low", "BYTE", 0, 1)});
    flags.type_flags = 0x200;
    UploadEntry doors = alias("Doors", "BIT", 13, 0x21);
    doors.counts_bits = true;
    doors.type_flags = 0x10000;
    doors.dimensions = {{0, 13}};
    UploadEntry steps = alias("ARRAY [1..5] OF ST_Step", "ST_Step", 220, 0x41);
    steps.dimensions = {{1, 5}};
    UploadEntry recipe = structure(
        "ST_Recipe", {member("title", "WSTRING(31)", 0, 64), member("steps", "ARRAY [1..5] OF ST_Step", 64, 220)});
    recipe.attributes = {{"Author", "Kern"}};
    UploadEntry motor =
        structure("FB_Motor", {member("speed", "LREAL", 0, 8), member("next", "POINTER TO FB_Motor", 8, 8)});
    zo_sim::UploadProperty load;
    load.item = member("Load", "REAL", 0, 4);
    motor.properties = {load};
    motor.methods = {{"Start", "BOOL", {{"ramp", "TIME", 1, 4, {}}, {"reason", "STRING(80)", 2, 81, {}}}, 0, {}}};
    UploadEntry filler =
        structure("FB_Filler", {member("speed", "LREAL", 0, 8), member("next", "POINTER TO FB_Motor", 8, 8),
                                member("valves", "ARRAY [0..3] OF ST_Valve", 16, 96),
                                member("level", "ARRAY [0..1,1..3] OF REAL", 112, 24)});
    filler.attributes = {{"ZoExtends", "FB_Motor"}};
    program.types = {
        state,
        alias("T_State", "E_State", 2, 2),
        alias("T_State2", "T_State", 2, 2),
        alias("INT (0..100)", "INT", 2, 2),
        structure("ST_Valve", {member("open", "BOOL", 0, 1), member("fault", "BOOL", 1, 1),
                               member("position", "INT (0..100)", 2, 2), member("serviceKey", "UDINT", 4, 4, hide),
                               member("name", "STRING(15)", 8, 16)}),
        alias("ST_InletValve", "ST_Valve", 24, 0x41),
        inlet,
        mode,
        flags,
        structure("ST_Step", {member("name", "STRING(31)", 0, 32), member("volume", "LREAL", 32, 8),
                              member("wait", "TIME", 40, 4)}),
        steps,
        recipe,
        doors,
        alias("T_Doors", "Doors", 2, 0x21),
        motor,
        filler,
    };
    program.symbols = {
        symbol("MAIN.filler", "FB_Filler", 136, {{"ZoHmiSymbol.ShowRecursively", ""}}),
        symbol("MAIN.capper", "FB_Motor", 16),
        symbol("MAIN.inlet", "T_Inlet", 8),
        symbol("MAIN.spare", "ST_InletValve", 24),
        symbol("MAIN.state", "T_State", 2, {{"ZoHmiSymbol.ReadOnly", ""}}),
        symbol("MAIN.mode", "ST_Mode", 4),
        symbol("MAIN.flags", "U_Flags", 2),
        symbol("MAIN.doors", "T_Doors", 2),
        symbol("Recipes.current", "ST_Recipe", 284),
        symbol("Recipes.image", "ARRAY [0..63] OF BYTE", 64, {{"ZoHmiSymbol.BLOB", ""}}),
        symbol(".total", "ULINT", 8),
        symbol("Service.secret", "DINT", 4, hide),
        symbol("MAIN.grid", "ARRAY [0..1] OF ARRAY [5..6] OF ST_Valve", 96),
    };
    return program;
}

std::shared_ptr<RuntimeConfig> analyzed(State& state, const Program& program) {
    const auto config = std::make_shared<RuntimeConfig>("plc");
    config->set_upload_info(*UploadInfo::read(program.info()));
    for (const auto& result :
         {state.add_datatypes(config, program.datatype_block()), state.add_symbols(config, program.symbol_block())})
        if (result.code() != 0) throw std::runtime_error(result.text());
    config->backup_unmodified_upload_info();
    state.preprocess_upload_info(config);
    state.postprocess_upload_info(config);
    return config;
}

void Device::load(Program program) {
    locked([&] {
        blocks_ = {{group_symbol_upload, program.symbol_block()},
                   {group_datatype_upload, program.datatype_block()},
                   {group_upload_info, program.info()}};
    });
}

DeviceAnswer Device::operator()(const DeviceRequest& request) {
    std::function<void()> hook;
    locked([&] {
        ++requests[request.kind == DeviceRequest::state ? 0 : request.group];
        if (const auto found = hooks_.find(request.group); found != hooks_.end()) hook = found->second;
    });
    if (hook) hook();
    const std::lock_guard lock(mutex_);
    if (request.kind == DeviceRequest::state) {
        DeviceAnswer answer;
        answer.code = codes_[0];
        answer.fdx_state = 5;
        return answer;
    }
    if (request.group == group_sum_read_write || request.group == group_sum_write) return sum(request);
    return item(request.group, request.offset, request.length, request.written);
}

DeviceAnswer Device::item(std::uint32_t group, std::uint32_t offset, std::uint32_t length, const Bytes& written) {
    DeviceAnswer answer;
    if (const auto code = codes_.find(group); code != codes_.end() && code->second != 0) {
        answer.code = code->second;
    } else if (const auto block = blocks_.find(group); block != blocks_.end()) {
        largest_read = std::max<std::size_t>(largest_read, length);
        if (offset > block->second.size()) answer.code = 0x703;
        const auto start = block->second.begin() + std::min<std::ptrdiff_t>(offset, std::ssize(block->second));
        answer.data.assign(start, start + std::min<std::ptrdiff_t>(length, block->second.end() - start));
    } else if (group == group_handle_by_name) {
        const std::string name(written.begin(), written.end());
        names_asked.push_back(name);
        if (const auto unknown = unknown_.find(name); unknown != unknown_.end())
            answer.code = unknown->second;
        else
            fakes::append_number(answer.data, ++last_handle_);
        if (answer.code == 0 && answer.data.empty()) answer.data.resize(4); // a handle of 0
    } else if (group == group_release_handle) {
        handles_released.push_back(fakes::number_at(written, 0));
    } else {
        answer.code = 0x702;
    }
    return answer;
}

DeviceAnswer Device::sum(const DeviceRequest& request) {
    const bool reads = request.group == group_sum_read_write;
    const std::size_t record = reads ? sizeof(FdxReqWrite) : sizeof(FdxReq);
    DeviceAnswer answer;
    Bytes data;
    std::size_t written_at = request.offset * record;
    for (std::size_t i = 0; i < request.offset; ++i) {
        const auto number = [&](std::size_t n) { return fakes::number_at(request.written, i * record + 4 * n); };
        const std::uint32_t write_length = number(reads ? 3 : 2);
        const auto start = request.written.begin() + static_cast<std::ptrdiff_t>(written_at);
        const DeviceAnswer one =
            item(number(0), number(1), reads ? number(2) : 0, Bytes(start, start + std::ptrdiff_t(write_length)));
        written_at += write_length;
        fakes::append_number(answer.data, static_cast<std::uint32_t>(one.code));
        if (reads) fakes::append_number(answer.data, static_cast<std::uint32_t>(one.data.size()));
        data.insert(data.end(), one.data.begin(), one.data.end());
    }
    answer.data.insert(answer.data.end(), data.begin(), data.end());
    return answer;
}

} // namespace plant
