#include "simulator/controller/controller.h"

#include "simulator/controller/upload_entries.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zo_sim {

namespace {

using nlohmann::json;

constexpr std::uint32_t group_image = 0x4020;
constexpr std::uint32_t group_handle_by_name = 0xF003;
constexpr std::uint32_t group_value_by_name = 0xF004;
constexpr std::uint32_t group_value_by_handle = 0xF005;
constexpr std::uint32_t group_release_handle = 0xF006;
constexpr std::uint32_t group_info_by_name = 0xF009;
constexpr std::uint32_t group_symbol_upload = 0xF00B;
constexpr std::uint32_t group_datatype_upload = 0xF00E;
constexpr std::uint32_t group_upload_info = 0xF00F;
constexpr std::uint32_t group_masked_value = 0xF018;
constexpr std::uint32_t group_sum_read = 0xF080;
constexpr std::uint32_t group_sum_write = 0xF081;
constexpr std::uint32_t group_sum_read_write = 0xF082;

constexpr std::uint32_t not_supported = 0x701;
constexpr std::uint32_t invalid_group = 0x702;
constexpr std::uint32_t invalid_offset = 0x703;
constexpr std::uint32_t invalid_size = 0x705;
constexpr std::uint32_t out_of_memory = 0x70A;
constexpr std::uint32_t symbol_not_found = 0x710;
constexpr std::uint32_t symbol_version_invalid = 0x711;
constexpr std::uint32_t no_more_handles = 0x716;

std::uint32_t number_at(Controller::View bytes, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

void append_number(Bytes& bytes, std::uint32_t number) {
    const auto* const start = reinterpret_cast<const std::uint8_t*>(&number);
    bytes.insert(bytes.end(), start, start + sizeof number);
}

DeviceReply failed(std::uint32_t code) {
    return {code, {}};
}

std::string lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

std::uint64_t limit_of(const Node& node, const char* name) {
    const auto found = node.find(name);
    return found ? found->u32() : UINT64_MAX;
}

/// Replaces the entries of a list that have the names of others, and appends those that are new.
void merge_named(json& list, const json& changed) {
    const auto name_of = [](const json& entry) {
        if (entry.is_object() && entry.contains("name")) return entry["name"];
        return entry.is_string() ? json(entry.get<std::string>().substr(0, entry.get<std::string>().find(" : ")))
                                 : json();
    };
    for (const json& entry : changed) {
        const auto found = std::ranges::find_if(list, [&](const json& old) { return name_of(old) == name_of(entry); });
        if (found != list.end())
            *found = entry;
        else
            list.push_back(entry);
    }
}

} // namespace

Controller::Controller(const Node& description) : place_(description.place()), description_(description.value()) {
    description.object({"name", "version", "state", "code_page", "limits", "unsupported", "types", "symbols", "changes",
                        "symbol_block", "datatype_block"});
    if (const auto name = description.find("name")) name_ = name->text();
    if (const auto version = description.find("version")) version_ = version->text();
    if (const auto state = description.find("state")) state_ = static_cast<std::uint16_t>(state->integer(0, 0xFFFF));
    if (const auto limits = description.find("limits")) {
        limits->object({"items", "bytes", "handles"});
        limits_ = {limit_of(*limits, "items"), limit_of(*limits, "bytes"), limit_of(*limits, "handles")};
    }
    if (const auto groups = description.find("unsupported"))
        groups->each_item([this](const Node& group) { unsupported_.insert(group.u32_or_text()); });
    if (const auto changes = description.find("changes")) {
        // Each is tried now, so that a fault in it shows at the start.
        json changed = description_;
        changes->each_item([&](const Node& change) {
            apply_change(changed, change);
            const Plant tried(Node(changed, change.place()));
        });
    }
    build(description_);
}

void Controller::apply_change(json& description, const Node& change) {
    change.object({"types", "symbols", "without"});
    for (const char* list : {"types", "symbols"})
        if (const auto changed = change.find(list)) merge_named(description[list], changed->value());
    if (const auto without = change.find("without"))
        without->each_item([&](const Node& name) {
            json& symbols = description["symbols"];
            const auto same = [&](const json& symbol) { return symbol.is_object() && symbol["name"] == name.text(); };
            symbols.erase(std::remove_if(symbols.begin(), symbols.end(), same), symbols.end());
        });
}

void Controller::build(const json& description) {
    const Node node(description, place_);
    auto built = std::make_unique<Plant>(node);
    if (plant_) built->take_over(*plant_);
    plant_ = std::move(built);
    UploadBlocks blocks = make_upload_blocks(*plant_);
    if (const auto given = node.find("symbol_block")) blocks.symbols = bytes_of_hex(given->text(), *given);
    if (const auto given = node.find("datatype_block")) blocks.datatypes = bytes_of_hex(given->text(), *given);
    symbol_block_ = std::move(blocks.symbols);
    datatype_block_ = std::move(blocks.datatypes);
    symbol_count_ = static_cast<std::uint32_t>(plant_->symbols().size());
    datatype_count_ = static_cast<std::uint32_t>(plant_->types().size());
}

void Controller::online_change() {
    if (const auto changes = description_.find("changes");
        changes != description_.end() && next_change_ < changes->size())
        apply_change(description_, Node((*changes)[next_change_++], place_ + ".changes"));
    build(description_);
    ++revision_;
    handles_.clear();
}

void Controller::switch_group(std::uint32_t group, bool on) {
    if (on)
        unsupported_.erase(group);
    else
        unsupported_.insert(group);
}

void Controller::answer_item(const std::string& path, std::uint32_t code, std::uint64_t count) {
    faults_[lower(path)] = {code, count};
}

std::uint32_t Controller::fault_of(const std::string& path) {
    const auto fault = faults_.find(path);
    if (fault == faults_.end()) return 0;
    const std::uint32_t code = fault->second.code;
    if (fault->second.left != 0 && --fault->second.left == 0) faults_.erase(fault);
    return code;
}

DeviceReply Controller::read(std::uint32_t group, std::uint32_t offset, std::uint32_t length) {
    if (length > limits_.bytes) return failed(out_of_memory);
    return item(group, offset, length, {}, false);
}

DeviceReply Controller::write(std::uint32_t group, std::uint32_t offset, View data) {
    return item(group, offset, 0, data, true);
}

DeviceReply Controller::read_write(std::uint32_t group, std::uint32_t offset, std::uint32_t length, View data) {
    if (length > limits_.bytes) return failed(out_of_memory);
    if (group < group_sum_read || group > group_sum_read_write) return item(group, offset, length, data, false);
    if (unsupported_.contains(group)) return failed(not_supported);
    return sum(group, offset, length, data);
}

DeviceReply Controller::item(std::uint32_t group, std::uint32_t offset, std::uint32_t length, View data, bool writes) {
    if (unsupported_.contains(group)) return failed(not_supported);
    switch (group) {
    case group_image:
        return memory(offset, length, data, writes);
    case group_handle_by_name:
        return create_handle(length, data);
    case group_value_by_name:
    case group_info_by_name: {
        Place place;
        std::string path;
        if (const std::uint32_t code = find(data, place, path); code != 0) return failed(code);
        if (group == group_value_by_name) return value(place, length, {}, false);
        DeviceReply reply{
            0, make_symbol_entry(*plant_, place,
                                 plant_->decoded({reinterpret_cast<const char*>(data.data()), data.size()}))};
        reply.data.resize(std::min<std::size_t>(reply.data.size(), length));
        return reply;
    }
    case group_value_by_handle:
    case group_masked_value: {
        const auto handle = handles_.find(offset);
        if (handle == handles_.end()) return failed(symbol_version_invalid);
        if (const std::uint32_t code = fault_of(handle->second.path); code != 0) return failed(code);
        const Place& place = handle->second.place;
        if (group == group_masked_value) return masked(place, data);
        return value(place, length, data, writes || !data.empty());
    }
    case group_release_handle:
        if (data.size() != sizeof(std::uint32_t)) return failed(invalid_size);
        return failed(handles_.erase(number_at(data, 0)) == 1 ? 0 : symbol_version_invalid);
    case group_symbol_upload:
        return chunk(symbol_block_, offset, length);
    case group_datatype_upload:
        return chunk(datatype_block_, offset, length);
    case group_upload_info:
        return upload_info(length);
    default:
        return failed(invalid_group);
    }
}

DeviceReply Controller::memory(std::uint32_t offset, std::uint32_t length, View data, bool writes) {
    const std::span<std::uint8_t> image = plant_->memory();
    const std::size_t size = writes ? data.size() : length;
    if (offset > image.size() || size > image.size() - offset) return failed(invalid_offset);
    const auto range = image.subspan(offset, size);
    if (!writes) return {0, Bytes(range.begin(), range.end())};
    std::ranges::copy(data, range.begin());
    return {};
}

DeviceReply Controller::value(const Place& place, std::uint32_t length, View data, bool writes) {
    if ((writes ? data.size() : length) != place.size()) return failed(invalid_size);
    if (writes) {
        plant_->write(place, data);
        return {};
    }
    DeviceReply reply{0, Bytes(length)};
    plant_->read(place, reply.data);
    return reply;
}

// Data, then a mask of the same length.
DeviceReply Controller::masked(const Place& place, View data) {
    const std::size_t size = place.size();
    if (data.size() != 2 * size) return failed(invalid_size);
    Bytes bytes(size);
    plant_->read(place, bytes);
    for (std::size_t i = 0; i < size; ++i) {
        const std::uint8_t mask = data[size + i];
        bytes[i] = static_cast<std::uint8_t>((bytes[i] & ~mask) | (data[i] & mask));
    }
    plant_->write(place, bytes);
    return {};
}

std::uint32_t Controller::find(View name, Place& place, std::string& path) {
    std::string_view native(reinterpret_cast<const char*>(name.data()), name.size());
    if (native.ends_with('\0')) native.remove_suffix(1);
    path = lower(plant_->decoded(native));
    if (const std::uint32_t code = fault_of(path); code != 0) return code;
    return plant_->resolve(path, place);
}

DeviceReply Controller::create_handle(std::uint32_t length, View name) {
    Handle handle;
    if (length < sizeof(std::uint32_t)) return failed(invalid_size);
    if (const std::uint32_t code = find(name, handle.place, handle.path); code != 0) return failed(code);
    if (handles_.size() >= limits_.handles) return failed(no_more_handles);
    handles_.emplace(++last_handle_, std::move(handle));
    DeviceReply reply;
    append_number(reply.data, last_handle_);
    return reply;
}

DeviceReply Controller::upload_info(std::uint32_t length) const {
    DeviceReply reply;
    const auto size = [](const Bytes& block) { return static_cast<std::uint32_t>(block.size()); };
    for (const std::uint32_t number :
         {size(symbol_block_), size(datatype_block_), symbol_count_, datatype_count_, revision_, plant_->code_page()})
        append_number(reply.data, number);
    reply.data.resize(std::min<std::size_t>(reply.data.size(), length));
    return reply;
}

DeviceReply Controller::chunk(const Bytes& block, std::uint32_t offset, std::uint32_t length) {
    if (offset > block.size() || (offset == block.size() && length != 0)) return failed(invalid_offset);
    const auto start = block.begin() + static_cast<std::ptrdiff_t>(offset);
    const std::size_t size = std::min<std::size_t>(length, block.size() - offset);
    return {0, Bytes(start, start + static_cast<std::ptrdiff_t>(size))};
}

DeviceReply Controller::sum(std::uint32_t group, std::uint32_t count, std::uint32_t length, View data) {
    if (count > limits_.items) return failed(out_of_memory);
    const bool both = group == group_sum_read_write;
    const std::size_t record = both ? 16 : 12;
    const std::size_t head = both ? 8 : 4;
    if (count > data.size() / record || std::uint64_t{count} * head > length) return failed(invalid_size);
    std::size_t data_at = count * record;
    DeviceReply reply{0, Bytes(count * head)};
    Bytes read;
    for (std::uint32_t i = 0; i < count; ++i) {
        const View wire = data.subspan(i * record, record);
        const std::uint32_t sub_group = number_at(wire, 0);
        const std::uint32_t read_length = group == group_sum_write ? 0 : number_at(wire, 8);
        const std::uint32_t write_length = both                       ? number_at(wire, 12)
                                           : group == group_sum_write ? number_at(wire, 8)
                                                                      : 0;
        if (write_length > data.size() - data_at) return failed(invalid_size);
        if (reply.data.size() + read.size() + read_length > length) return failed(invalid_size);
        ++sub_requests_[sub_group];
        DeviceReply one = item(sub_group, number_at(wire, 4), read_length, data.subspan(data_at, write_length),
                               group == group_sum_write);
        data_at += write_length;
        // The data of a sum of reads keep their places.
        if (group == group_sum_read) one.data.resize(read_length);
        const auto size = static_cast<std::uint32_t>(one.data.size());
        std::memcpy(reply.data.data() + i * head, &one.code, sizeof one.code);
        if (both) std::memcpy(reply.data.data() + i * head + 4, &size, sizeof size);
        read.insert(read.end(), one.data.begin(), one.data.end());
    }
    reply.data.insert(reply.data.end(), read.begin(), read.end());
    return reply;
}

} // namespace zo_sim
