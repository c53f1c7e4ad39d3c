#include "device/runtime/detail/path_walk.h"

#include "device/code/result_codes.h"
#include "device/runtime/detail/type_lookup.h"
#include "device/type/dialect.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::ExtensionResultStream;
using ZoHmiSrv::ValueType;

namespace {

constexpr std::string_view marks = ".#[],^`";

constexpr char folded(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// Returns the item with this name. If there is none and the case may differ, returns the first match without regard to
/// case.
template <class Items>
auto find_item(const Items& items, std::string_view name, Spelling spelling) {
    auto found = std::ranges::find_if(items, [&](const auto& item) { return item.name() == name; });
    if (found == items.end() && spelling == Spelling::AnyCase)
        found = std::ranges::find_if(
            items, [&](const auto& item) { return std::ranges::equal(item.name(), name, {}, folded, folded); });
    return found == items.end() ? nullptr : &*found;
}

const SubItem* find_member(const Datatype& type, std::string_view name, Spelling spelling) {
    // Large types have an index of exact names.
    if (const auto exact = type.find_subitem(std::string(name)); exact != type.subitems().end()) return &*exact;
    if (const SubItem* const member = find_item(type.subitems(), name, spelling)) return member;
    return find_item(type.property_items(), name, spelling);
}

} // namespace

ExtensionResult symbol_not_found(const std::string& path) {
    return ExtensionResultStream(HMI_FDX_E_INVALID_SYMBOL, path) << "Symbol not found";
}

PathWalk::PathWalk(RuntimeConfig& config, const std::string& symbol_path, const SymbolInfo& symbol, Spelling spelling)
    : config_(config), spelling_(spelling) {
    path_.str() = symbol_path;
    found_.type_name = symbol.datatype_without_dialect();
    found_.attributes = symbol.attributes;
}

TranslatePathResult PathWalk::follow(std::string_view text, std::size_t start) {
    text_ = text;
    at_ = start;
    if (at_ < text_.size() && load_type(found_.type_name))
        while (at_ < text_.size() && step()) {
        }
    if (is_error(found_.result)) {
        TranslatePathResult failed;
        failed.result = std::move(found_.result);
        return failed;
    }
    found_.dereferences = path_.dereference_count();
    found_.path = PathMetadata(std::move(path_));
    return std::move(found_);
}

bool PathWalk::step() {
    if (!found_.method_name.empty())
        return fail(HMI_FDX_E_RETURN_VALUE_SUBSYMBOL, "Parts of a return value cannot be accessed");
    switch (text_[at_]) {
    case '.':
        return step_to_member();
    case '#':
        return step_to_method();
    case '[':
        return step_to_element();
    case '^':
    case '`':
        return step_to_target();
    default:
        return fail_not_found();
    }
}

std::string_view PathWalk::take_name() {
    ++at_; // behind the separator
    const std::size_t end = std::min(text_.find_first_of(marks, at_), text_.size());
    const std::string_view name = text_.substr(at_, end - at_);
    at_ = end;
    return name;
}

bool PathWalk::step_to_member() {
    if (!resolve_to_content()) return false;
    const std::string_view name = take_name();
    const SubItem* const member = name.empty() ? nullptr : find_member(*type_, name, spelling_);
    if (!member) return fail_not_found();
    path_.push_back_subitem(member->name());
    found_.attributes = member->attributes();
    return load_type(member->type_name());
}

bool PathWalk::step_to_method() {
    if (!resolve_to_content()) return false;
    const std::string_view name = take_name();
    const MethodItem* const method = name.empty() ? nullptr : find_item(type_->method_items(), name, spelling_);
    if (!method) return fail_not_found();
    path_.push_back_method(method->name());
    found_.method_name = method->name();
    found_.attributes = {};
    found_.type_name = remove_dialect_suffix_copy(method->return_type_name());
    return true;
}

bool PathWalk::step_to_element() {
    // Adjacent groups count together: "[1][2]" equals "[1,2]".
    std::vector<std::int64_t> indices;
    do {
        const std::size_t close = text_.find(']', at_);
        if (close == text_.npos) return fail(HMI_FDX_E_INVALID_MATRIX_ACCESS, "Index group is not closed");
        const std::string group(text_.substr(at_ + 1, close - at_));
        const std::vector<std::int64_t> parsed = parse_indices_from_path_part(group, '[');
        if (parsed.size() != static_cast<std::size_t>(std::ranges::count(group, ',')) + 1)
            return fail(HMI_FDX_E_INVALID_MATRIX_ACCESS, "Index is not a number");
        indices.insert(indices.end(), parsed.begin(), parsed.end());
        at_ = close + 1;
    } while (at_ < text_.size() && text_[at_] == '[');
    return take_dimensions(indices);
}

bool PathWalk::take_dimensions(const std::vector<std::int64_t>& indices) {
    for (std::size_t next = 0; next < indices.size();) {
        if (!resolve_to_content()) return false;
        const ArrayInfo& array = type_->array_info();
        const std::size_t dimensions = array.dimensions();
        if (dimensions == 0) return fail(HMI_FDX_E_INVALID_MATRIX_ACCESS, "Symbol is not an array");
        if (indices.size() - next < dimensions)
            return fail(HMI_FDX_E_INVALID_MATRIX_ACCESS, "Number of indices does not match the dimensions");
        std::string group;
        for (std::size_t i = 0; i < dimensions; ++i, ++next) {
            const std::int64_t index = indices[next];
            if (index < array.dimension(i).lower_bound || index > array.max_index(i))
                return fail(HMI_FDX_E_OUT_OF_RANGE, "Index is out of range");
            group += i == 0 ? '[' : ',';
            group += std::to_string(index);
        }
        path_.push_back_indices(group + "]");
        if (!load_type(element_name(*type_))) return false;
    }
    return true;
}

bool PathWalk::step_to_target() {
    // Resolves names only: the operator in the text belongs to the pointer itself.
    const auto named = resolve_type(config_, path_, *type_, false, false, ResolveSettings::Names);
    if (is_error(named.result)) return fail(named.result.code(), "Recursive type");
    if (named.type) type_ = named.type;
    const bool is_reference = text_[at_] == '`';
    if (!type_->is_indirection_strict() || type_->is_reference() != is_reference)
        return fail(HMI_FDX_E_INVALID_SYMBOL_TYPE,
                    is_reference ? "Symbol is not a reference" : "Symbol is not a pointer");
    // One name may resolve to several indirections. The text may omit some of their operators.
    for (const char needed : dereference_operators_of(*type_)) {
        path_.append_indices_and_dereference_operators(std::string(1, needed));
        if (at_ < text_.size() && text_[at_] == needed) ++at_;
    }
    return load_type(type_->type_name());
}

bool PathWalk::load_type(const std::string& name) {
    found_.type_name = remove_dialect_suffix_copy(name);
    type_ = find_or_infer(config_, found_.type_name);
    if (!type_) type_ = std::make_shared<const Datatype>();
    return true;
}

bool PathWalk::resolve_to_content() {
    auto resolved = resolve_type(config_, path_, *type_, true, false, ResolveSettings::AllButEnumAliases);
    if (is_error(resolved.result)) {
        found_.result = std::move(resolved.result);
        return false;
    }
    if (resolved.type) type_ = std::move(resolved.type);
    path_ = std::move(resolved.path);
    return true;
}

bool PathWalk::fail(int code, const char* wording) {
    found_.result = ExtensionResultStream(code, std::string(text_)) << wording;
    return false;
}

bool PathWalk::fail_not_found() {
    found_.result = symbol_not_found(std::string(text_));
    return false;
}

} // namespace ZoHmiFdx
