#include "device/type/dialect.h"

#include <string_view>

namespace ZoHmiFdx {

namespace {

constexpr std::string_view both_suffixes = " ReadOnly ShowRecursively";
constexpr std::string_view readonly_suffix = both_suffixes.substr(0, 9);
constexpr std::string_view recursive_suffix = both_suffixes.substr(9);

/// All suffixes end in this letter; most names do not.
bool may_have_suffix(const std::string& name) {
    return name.ends_with('y');
}

void remove_suffix(std::string& name, std::string_view suffix) {
    if (name.ends_with(suffix)) name.resize(name.size() - suffix.size());
}

bool has(DatatypeDialectFlags flags, DatatypeDialectFlags flag) {
    return (flags & flag) != DatatypeDialectFlags::None;
}

} // namespace

void remove_dialect_suffix(std::string& name) {
    if (!may_have_suffix(name)) return;
    remove_suffix(name, both_suffixes);
    remove_suffix(name, readonly_suffix);
    remove_suffix(name, recursive_suffix);
}

std::string remove_dialect_suffix_copy(std::string name) {
    remove_dialect_suffix(name);
    return name;
}

bool has_dialect_suffix(const std::string& name) {
    return may_have_suffix(name) && (name.ends_with(readonly_suffix) || name.ends_with(recursive_suffix));
}

bool has_readonly_dialect_suffix(const std::string& name) {
    return may_have_suffix(name) && (name.ends_with(readonly_suffix) || name.ends_with(both_suffixes));
}

bool empty_or_only_dialect_suffix(const std::string& name) {
    return name.empty() || name == readonly_suffix || name == both_suffixes;
}

std::string add_dialect_suffix(std::string name, DatatypeDialectFlags flags) {
    remove_dialect_suffix(name);
    if (has(flags, DatatypeDialectFlags::ReadOnly)) name += readonly_suffix;
    if (has(flags, DatatypeDialectFlags::ShowRecursively)) name += recursive_suffix;
    return name;
}

} // namespace ZoHmiFdx
