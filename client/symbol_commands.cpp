#include "client/commands.h"
#include "device/code/code_page.h"
#include "device/code/result_codes.h"
#include "device/path/symbol_entry.h"
#include "device/runtime/runtime_config.h"
#include "extension/host/value.h"

#include <algorithm>
#include <cstring>
#include <fnmatch.h>

namespace fdx {

namespace {

using nlohmann::ordered_json;
using ZoHmiFdx::UnqualifiedFdxPath;

/// Reports a failed refresh. Returns false if there are no symbols; the symbols of an earlier upload stay usable.
bool refreshed(Device& device, Output& output) {
    const auto result = device.refresh();
    if (result.code() == 0) return true;
    output.fail("symbols", result);
    return device.runtime()->symbols().size() != 0;
}

ordered_json attributes_of(const ZoHmiFdx::Attributes& attributes) {
    ordered_json object = ordered_json::object();
    for (const auto& [key, value] : attributes.entries())
        object[key] = value;
    return object;
}

// symbols [--under PATH] [--hidden]
void symbols(Device& device, Output& output, const Call& call) {
    if (!refreshed(device, output)) return;
    const std::string parent = call.words.empty() ? std::string() : call.words[0];
    ZoHmiSrv::Value found;
    const auto result = device.state().browse(Device::name, UnqualifiedFdxPath(parent), found, true);
    if (result.code() != 0) return output.fail(parent.empty() ? "symbols" : parent, result);
    output.begin({"path", "type", "size", "read_only", "hidden", "members"});
    for (auto symbol = found.begin_vector(); symbol != found.end_vector(); ++symbol) {
        const bool hidden = (*symbol)["hidden"].get_bool();
        if (hidden && !call.hidden) continue;
        output.row({(*symbol)["path"].get_string(), (*symbol)["type"].get_string(), (*symbol)["size"].get_int64(),
                    (*symbol)["readOnly"].get_bool(), hidden, (*symbol)["hasChildren"].get_bool()});
    }
    output.end();
}

// path PATH
void path(Device& device, Output& output, const Call& call) {
    if (!refreshed(device, output)) return;
    const auto runtime = device.runtime();
    const auto found = device.state().translate_path(runtime, UnqualifiedFdxPath(call.words[0]));
    if (found->result.code() != 0) return output.fail(call.words[0], found->result);
    output.begin({"unique", "native", "sanitized", "lookup", "type", "read_only", "hidden", "attributes"});
    const auto& forms = found->path;
    output.row({forms.unique().str(), forms.native().str(), forms.sanitized().str(), forms.lookup().str(),
                found->type_name, runtime->is_readonly(forms.unique()),
                runtime->is_hidden_or_not_whitelisted(forms.unique()), attributes_of(found->attributes)});
    output.end();
}

// entry PATH: the device's own record, which may be truncated at 255 bytes.
void entry(Device& device, Output& output, const Call& call) {
    (void)device.refresh(); // for the code page; entries can exist without an upload
    const int code_page = device.runtime()->code_page();
    const auto [bytes, code] = device.requests().info_by_name(ZoHmiFdx::utf8_to_codepage(call.words[0], code_page));
    if (code != 0) return output.fail(call.words[0], code);
    ZoHmiFdx::FdxSymbolEntry head{};
    if (bytes.size() < sizeof head) return output.fail(call.words[0], 0x705);
    std::memcpy(&head, bytes.data(), sizeof head);
    std::size_t at = sizeof head;
    const auto text = [&](std::size_t length) {
        const std::size_t start = std::min(at, bytes.size());
        const std::size_t count = std::min(length, bytes.size() - start);
        at += length + 1;
        return ZoHmiFdx::to_utf8({reinterpret_cast<const char*>(bytes.data()) + start, count}, code_page);
    };
    const std::string name = text(head.name_length);
    const std::string type = text(head.type_length);
    const std::string comment = text(head.comment_length);
    output.begin({"name", "type", "comment", "group", "offset", "size", "code", "flags"});
    output.row({name, type, comment, std::uint32_t{head.index_group}, std::uint32_t{head.index_offset},
                std::uint32_t{head.size}, std::uint32_t{head.data_type}, std::uint32_t{head.flags}});
    output.end();
}

// find GLOB: searches the uploaded symbols, without regard to case.
void find(Device& device, Output& output, const Call& call) {
    if (!refreshed(device, output)) return;
    const auto runtime = device.runtime();
    auto records = runtime->symbols().snapshot();
    std::erase_if(records, [&](const auto& record) {
        return ::fnmatch(call.words[0].c_str(), record.first.str().c_str(), FNM_CASEFOLD) != 0 ||
               (!call.hidden && runtime->is_hidden_or_not_whitelisted(record.first));
    });
    std::ranges::sort(records, {}, [](const auto& record) -> const std::string& { return record.first.str(); });
    output.begin({"path", "type", "size", "comment"});
    for (const auto& [symbol, record] : records)
        output.row({symbol.str(), record->datatype_without_dialect(), record->size, record->comment});
    output.end();
}

/// Returns "BYTE", or "BYTE.BIT" for a packed bit, whose offset counts bits.
std::string offset_text(const ZoHmiFdx::SubItem& member, bool packed) {
    if (!packed) return std::to_string(member.offset());
    return std::to_string(member.offset() / 8) + "." + std::to_string(member.offset() % 8);
}

// type NAME: one row for the type, and one for each member, enumerator, property and method.
void type(Device& device, Output& output, const Call& call) {
    if (!refreshed(device, output)) return;
    const auto runtime = device.runtime();
    const auto get = [&](const std::string& name) {
        return device.state().datatype(runtime, {}, name, false, ZoHmiFdx::DatatypeStorage::Both);
    };
    const auto found = get(call.words[0]);
    if (!found) return output.fail(call.words[0], ZoHmiFdx::HMI_FDX_E_MISSING_SYMBOL_TYPE);
    output.begin({"kind", "name", "type", "offset", "size", "attributes"});
    std::string dimensions;
    for (std::size_t i = 0; i < found->array_info().dimensions(); ++i)
        dimensions += (dimensions.empty() ? "" : ",") + std::to_string(found->array_info().dimension(i).lower_bound) +
                      ".." + std::to_string(found->array_info().max_index(i));
    output.row({dimensions.empty() ? "type" : "array [" + dimensions + "]", call.words[0], found->type_name(), "",
                found->size(), attributes_of(found->attributes())});
    for (const auto& member : found->subitems()) {
        const auto its_type = get(member.type_name());
        output.row({"member", member.name(), member.type_name(),
                    offset_text(member, its_type && its_type->bits_may_be_packed()), member.size(),
                    attributes_of(member.attributes())});
    }
    for (const auto& item : found->enum_items())
        output.row({"enumerator", item.name, std::to_string(item.value), "", "", ordered_json::object()});
    for (const auto& item : found->property_items())
        output.row({"property", item.name(), item.type_name(), "", item.size(), attributes_of(item.attributes())});
    for (const auto& item : found->method_items())
        output.row({"method", item.name(), item.return_type_name(), "", "", ordered_json::object()});
    output.end();
}

} // namespace

void add_symbol_commands(CLI::App& app, Call& call) {
    CLI::App* const list = add_command(app, call, "symbols", "the topmost layer, or what lies under a path", symbols);
    list->add_option("--under", call.words, "a path")->expected(1);
    list->add_flag("--hidden", call.hidden, "hidden ones too");
    struct Kind {
        const char* name;
        const char* argument;
        const char* description;
        void (*run)(Device&, Output&, const Call&);
    };
    for (const Kind& kind : {Kind{"path", "PATH", "all forms of a path, and its type", path},
                             Kind{"entry", "PATH", "the device's own record of a symbol", entry},
                             Kind{"find", "GLOB", "symbols whose path matches", find},
                             Kind{"type", "NAME", "a type with its members", type}}) {
        CLI::App* const command = add_command(app, call, kind.name, kind.description, kind.run);
        command->add_option(kind.argument, call.words)->expected(1)->required();
        if (kind.run == find) command->add_flag("--hidden", call.hidden, "hidden ones too");
    }
}

} // namespace fdx
