#include "simulator/controller/controller.h"

#include "simulator/controller/groups.h"
#include "simulator/controller/upload_entries.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace zo_sim {

namespace {

using nlohmann::json;

using device_code::invalid_group;
using device_code::invalid_offset;
using device_code::invalid_size;
using device_code::not_supported;
using device_code::out_of_memory;
using device_code::symbol_not_found;
using device_code::symbol_version_invalid;

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

std::uint64_t limit_of(const Node& node, const char* name, std::uint64_t usual) {
    const auto found = node.find(name);
    return found ? found->u32_or_text() : usual;
}

/// Returns the name of a type or symbol in a scenario. The entry may have the short form "NAME : TYPE".
std::string name_of(const Node& entry) {
    if (!entry.is_text()) return entry.at("name").text();
    return entry.text().substr(0, entry.text().find(" : "));
}

/// Replaces the entries of a list that have the same name, and appends new ones.
void merge_named(json& list, const Node& changed) {
    if (list.is_null()) list = json::array();
    changed.each_item([&](const Node& entry) {
        const std::string name = name_of(entry);
        const auto found =
            std::ranges::find_if(list, [&](const json& old) { return name_of(Node(old, entry.place())) == name; });
        if (found != list.end())
            *found = entry.value();
        else
            list.push_back(entry.value());
    });
}

void remove_named(json& list, const Node& without) {
    without.each_item([&](const Node& name) {
        const auto gone = std::remove_if(list.begin(), list.end(), [&](const json& entry) {
            return name_of(Node(entry, name.place())) == name.text();
        });
        if (gone == list.end()) name.fail("is no symbol's name");
        list.erase(gone, list.end());
    });
}

} // namespace

Controller::Controller(const Node& description) : place_(description.place()), description_(description.value()) {
    description.object({"name", "version", "state", "code_page", "limits", "unsupported", "types", "symbols", "changes",
                        "symbol_block", "datatype_block"});
    if (const auto name = description.find("name")) name_ = name->text();
    if (const auto state = description.find("state")) state_ = static_cast<std::uint16_t>(state->integer(0, 0xFFFF));
    if (const auto limits = description.find("limits")) {
        limits->object({"items", "bytes", "handles"});
        limits_ = {limit_of(*limits, "items", limits_.items), limit_of(*limits, "bytes", limits_.bytes),
                   limit_of(*limits, "handles", limits_.handles)};
    }
    if (const auto groups = description.find("unsupported"))
        groups->each_item([this](const Node& group) { unsupported_.insert(group.u32_or_text()); });
    if (const auto changes = description.find("changes")) {
        // Each change is tried now, so that an error in it is found at the start.
        json changed = description_;
        build(description);
        changes->each_item([&](const Node& change) {
            apply_change(changed, change);
            build(Node(changed, change.place()));
        });
        plant_.reset();
    }
    build(description);
}

void Controller::apply_change(json& description, const Node& change) {
    change.object({"types", "symbols", "without"});
    for (const char* list : {"types", "symbols"})
        if (const auto changed = change.find(list)) merge_named(description[list], *changed);
    if (const auto without = change.find("without")) remove_named(description["symbols"], *without);
}

void Controller::build(const Node& node) {
    auto built = std::make_unique<Plant>(node);
    UploadBlocks blocks;
    try {
        blocks = make_upload_blocks(*built);
    } catch (const std::length_error& error) {
        node.fail(error.what());
    }
    if (const auto given = node.find("symbol_block")) blocks.symbols = bytes_of_hex(given->text(), *given);
    if (const auto given = node.find("datatype_block")) blocks.datatypes = bytes_of_hex(given->text(), *given);
    if (plant_) built->take_over(*plant_);
    plant_ = std::move(built);
    symbol_block_ = std::move(blocks.symbols);
    datatype_block_ = std::move(blocks.datatypes);
}

void Controller::online_change() {
    if (const auto changes = description_.find("changes");
        changes != description_.end() && next_change_ < changes->size()) {
        const json change = (*changes)[next_change_++];
        apply_change(description_, Node(change, place_ + ".changes"));
    }
    build(Node(description_, place_));
    ++revision_;
    handles_.clear();
}

void Controller::step(const std::string& path, double delta, double low, double high) {
    const json name = path;
    const Node node(name, "'" + path + "'");
    Place place;
    if (plant_->resolve(path, place) != 0) node.fail("is no symbol");
    const json old = plant_->value_of(place);
    if (!old.is_number()) node.fail("is no number");
    const auto next = [&] { return old.get<double>() + (falling_.contains(path) ? -delta : delta); };
    if (next() > high)
        falling_.insert(path);
    else if (next() < low)
        falling_.erase(path);
    const double value = std::clamp(next(), low, high);
    const json changed = old.is_number_float() ? json(value) : json(static_cast<std::int64_t>(std::llround(value)));
    plant_->set_value(place, Node(changed, node.place()));
}

void Controller::switch_group(std::uint32_t group, bool on) {
    if (on)
        unsupported_.erase(group);
    else
        unsupported_.insert(group);
}

void Controller::answer_item(const std::string& path, std::uint32_t code, std::uint64_t count) {
    if (code == 0)
        faults_.erase(lower(path));
    else
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
    return item({group, offset, length, {}, false});
}

DeviceReply Controller::write(std::uint32_t group, std::uint32_t offset, View data) {
    return item({group, offset, 0, data, true});
}

DeviceReply Controller::read_write(std::uint32_t group, std::uint32_t offset, std::uint32_t length, View data) {
    if (length > limits_.bytes) return failed(out_of_memory);
    if (group < group::sum_read || group > group::sum_read_write)
        return item({group, offset, length, data, !data.empty()});
    if (unsupported_.contains(group)) return failed(not_supported);
    return sum(group, offset, length, data);
}

DeviceReply Controller::item(const Request& request) {
    if (unsupported_.contains(request.group)) return failed(not_supported);
    switch (request.group) {
    case group::image:
        return memory(request);
    case group::handle_by_name:
        return create_handle(request.length, request.data);
    case group::value_by_name:
    case group::info_by_name:
        return by_name(request);
    case group::value_by_handle:
    case group::masked_value: {
        const auto handle = handles_.find(request.offset);
        if (handle == handles_.end()) return failed(symbol_version_invalid);
        if (const std::uint32_t code = fault_of(handle->second.path); code != 0) return failed(code);
        return request.group == group::masked_value ? masked(handle->second.place, request.data)
                                                    : value(handle->second.place, request);
    }
    case group::release_handle:
        if (request.data.size() != sizeof(std::uint32_t)) return failed(invalid_size);
        return failed(handles_.erase(number_at(request.data, 0)) == 1 ? 0 : symbol_version_invalid);
    case group::symbol_upload:
        return chunk(symbol_block_, request);
    case group::datatype_upload:
        return chunk(datatype_block_, request);
    case group::upload_info:
        return upload_info(request.length);
    default:
        return failed(invalid_group);
    }
}

DeviceReply Controller::by_name(const Request& request) {
    Place place;
    std::string path;
    if (const std::uint32_t code = find(request.data, place, path); code != 0) return failed(code);
    if (request.group == group::value_by_name) return value(place, {request.group, 0, request.length, {}, false});
    DeviceReply reply{0, make_symbol_entry(*plant_, place, path)};
    reply.data.resize(std::min<std::size_t>(reply.data.size(), request.length));
    return reply;
}

// Writes first, then reads.
DeviceReply Controller::memory(const Request& request) {
    const std::span<std::uint8_t> image = plant_->memory();
    const std::size_t size = std::max<std::size_t>(request.data.size(), request.length);
    if (request.offset > image.size() || size > image.size() - request.offset) return failed(invalid_offset);
    const auto range = image.subspan(request.offset);
    std::ranges::copy(request.data, range.begin());
    return {0, Bytes(range.begin(), range.begin() + request.length)};
}

DeviceReply Controller::value(const Place& place, const Request& request) {
    if (request.writes && request.data.size() != place.size()) return failed(invalid_size);
    if ((!request.writes || request.length != 0) && request.length != place.size()) return failed(invalid_size);
    if (request.writes) plant_->write(place, request.data);
    DeviceReply reply{0, Bytes(request.length)};
    if (request.length != 0) plant_->read(place, reply.data);
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
    if (native.size() > max_path_bytes) return symbol_not_found;
    path = plant_->decoded(native);
    if (const std::uint32_t code = fault_of(lower(path)); code != 0) return code;
    return plant_->resolve(path, place);
}

DeviceReply Controller::create_handle(std::uint32_t length, View name) {
    Handle handle;
    if (length < sizeof(std::uint32_t)) return failed(invalid_size);
    if (const std::uint32_t code = find(name, handle.place, handle.path); code != 0) return failed(code);
    if (handles_.size() >= limits_.handles) return failed(device_code::not_found);
    handle.path = lower(std::move(handle.path));
    handles_.emplace(++last_handle_, std::move(handle));
    DeviceReply reply;
    append_number(reply.data, last_handle_);
    return reply;
}

DeviceReply Controller::upload_info(std::uint32_t length) const {
    DeviceReply reply;
    const auto size = [](const Bytes& block) { return static_cast<std::uint32_t>(block.size()); };
    for (const std::uint32_t number :
         {size(symbol_block_), size(datatype_block_), static_cast<std::uint32_t>(plant_->symbols().size()),
          static_cast<std::uint32_t>(plant_->types().size()), revision_, plant_->code_page()})
        append_number(reply.data, number);
    reply.data.resize(std::min<std::size_t>(reply.data.size(), length));
    return reply;
}

DeviceReply Controller::chunk(const Bytes& block, const Request& request) {
    if (request.offset > block.size() || (request.offset == block.size() && request.length != 0))
        return failed(invalid_offset);
    const std::size_t size = std::min({std::size_t{request.length}, block.size() - request.offset, max_answer_bytes});
    const auto start = block.begin() + static_cast<std::ptrdiff_t>(request.offset);
    return {0, Bytes(start, start + static_cast<std::ptrdiff_t>(size))};
}

bool Controller::read_sum(std::uint32_t group, std::uint32_t count, std::uint32_t length, View data,
                          std::vector<Request>& items) {
    const bool both = group == group::sum_read_write;
    const std::size_t record = both ? 16 : 12;
    if (count > data.size() / record) return false;
    std::uint64_t answer = std::uint64_t{count} * (both ? 8 : 4);
    std::size_t data_at = count * record;
    items.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const View wire = data.subspan(i * record, record);
        const std::uint32_t read_length = group == group::sum_write ? 0 : number_at(wire, 8);
        std::uint32_t write_length = 0;
        if (group != group::sum_read) write_length = number_at(wire, both ? 12 : 8);
        if (write_length > data.size() - data_at) return false;
        answer += read_length;
        items.push_back({number_at(wire, 0), number_at(wire, 4), read_length, data.subspan(data_at, write_length),
                         group == group::sum_write || (both && write_length != 0)});
        data_at += write_length;
    }
    return answer <= std::min<std::uint64_t>(length, max_answer_bytes);
}

DeviceReply Controller::sum(std::uint32_t group, std::uint32_t count, std::uint32_t length, View data) {
    if (count > limits_.items) return failed(out_of_memory);
    std::vector<Request> items; // all of them are checked before the first is executed
    if (!read_sum(group, count, length, data, items)) return failed(invalid_size);
    const bool both = group == group::sum_read_write;
    DeviceReply reply;
    Bytes read;
    for (const Request& request : items) {
        ++sub_requests_[group::is_known(request.group) ? request.group : 0];
        DeviceReply one = item(request);
        // In a sum of reads, each item has its full length.
        if (group == group::sum_read) one.data.resize(request.length);
        append_number(reply.data, one.code);
        if (both) append_number(reply.data, static_cast<std::uint32_t>(one.data.size()));
        read.insert(read.end(), one.data.begin(), one.data.end());
    }
    reply.data.insert(reply.data.end(), read.begin(), read.end());
    return reply;
}

} // namespace zo_sim
