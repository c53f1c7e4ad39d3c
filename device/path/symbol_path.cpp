#include "device/path/symbol_path.h"

#include "device/code/code_page.h"
#include "device/path/detail/path_marks.h"
#include "device/path/symbol_entry.h"
#include "extension/host/algorithm.h"
#include "extension/host/command.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <string_view>

namespace ZoHmiFdx {

namespace {

constexpr std::size_t npos = std::string::npos;

/// The name in an entry of which `available` bytes are readable.
std::string name_in(const FdxSymbolEntry* entry, std::size_t available) {
    if (entry == nullptr || available < sizeof(FdxSymbolEntry)) return {};
    const std::size_t end = sizeof(FdxSymbolEntry) + entry->name_length + 1;
    if (end > std::min<std::size_t>(entry->entry_length, available)) return {};
    const char* name = reinterpret_cast<const char*>(entry) + sizeof(FdxSymbolEntry);
    return {name, strnlen(name, entry->name_length)};
}

/// The index of the "]" that closes the "[" at `open`, or npos.
std::size_t find_end_of_group(std::string_view text, std::size_t open) noexcept {
    return open == npos ? npos : text.find(']', open + 1);
}

/// Copies the text without the marks of arrays and indirections. Returns the end of the copy.
char* copy_reduced(std::string_view text, char* to) {
    return std::remove_copy_if(text.begin(), text.end(), to,
                               [](char c) { return PathMarks::reduced_away_table.contains(c); });
}

} // namespace

UnqualifiedFdxPath::UnqualifiedFdxPath(const ZoHmiSrv::Command& command) : FdxPath(command.mapping()) {
}

UniqueFdxPath::UniqueFdxPath(const FdxSymbolEntry* entry, int code_page)
    : UniqueFdxPath(entry, code_page, entry == nullptr ? 0 : entry->entry_length) {
}

UniqueFdxPath::UniqueFdxPath(const FdxSymbolEntry* entry, int code_page, std::size_t available)
    : UniqueFdxPathBase(to_utf8(name_in(entry, available), code_page)) {
}

void NativeFdxPath::append_dereference_operators(std::size_t n) {
    str().append(n, '^');
}

void LookupFdxPath::replace_start(const LookupFdxPath& from, const LookupFdxPath& to) {
    if (str().starts_with(from.str())) str().replace(0, from.size(), to.str());
}

LookupFdxPath LookupFdxPath::replace_start_copy(const LookupFdxPath& from, const LookupFdxPath& to) const {
    LookupFdxPath copy = *this;
    copy.replace_start(from, to);
    return copy;
}

NativeFdxPath to_native(const UniqueFdxPath& path) {
    NativeFdxPath native;
    native.str() = path.str();
    std::erase(native.str(), '`');
    return native;
}

SanitizedUniqueFdxPath sanitize(const UniqueFdxPath& path) {
    SanitizedUniqueFdxPath sanitized;
    sanitized.str() = sanitize_path(path);
    return sanitized;
}

LookupFdxPath simplify(const SanitizedUniqueFdxPath& path) {
    LookupFdxPath lookup;
    lookup.str() = simplify_path(path);
    return lookup;
}

LookupFdxPath to_lookup(const UniqueFdxPath& path) {
    const std::string_view text = path.str();
    LookupFdxPath lookup;
    lookup.str().resize(text.size());
    char* to = lookup.str().data();
    std::size_t from = 0;
    for (std::size_t open = text.find('['); open != npos; open = text.find('[', from)) {
        const std::size_t close = find_end_of_group(text, open);
        if (close == npos) break;
        to = copy_reduced(text.substr(from, open - from), to);
        from = close + 1;
    }
    to = copy_reduced(text.substr(from), to);
    lookup.str().resize(std::size_t(to - lookup.c_str()));
    return lookup;
}

std::string sanitize_path(const UniqueFdxPath& path) {
    std::string sanitized = sanitized_path_if_contaminated(path);
    if (sanitized.empty()) return path.str();
    return sanitized;
}

std::string sanitized_path_if_contaminated(const UniqueFdxPath& path) {
    const std::string_view text = path.str();
    std::size_t open = text.find('[');
    std::size_t close = find_end_of_group(text, open);
    std::string sanitized;
    if (close == npos) return sanitized;
    sanitized.reserve(text.size());
    std::size_t from = 0;
    for (; close != npos; open = text.find('[', from), close = find_end_of_group(text, open)) {
        sanitized += text.substr(from, open + 1 - from);
        from = close; // the closing bracket is copied with the text behind it
    }
    sanitized += text.substr(from);
    return sanitized;
}

std::string simplify_path(const SanitizedUniqueFdxPath& path) {
    std::string lookup;
    lookup.resize(path.size());
    lookup.resize(std::size_t(copy_reduced(path.str(), lookup.data()) - lookup.data()));
    return lookup;
}

std::optional<UniqueFdxPath> unsafe_to_unique(const UnqualifiedFdxPath& path) {
    if (path.includes_array_access()) return std::nullopt;
    std::optional<UniqueFdxPath> unique(std::in_place);
    unique->str() = path.str();
    return unique;
}

std::size_t find_first_dereference_operator(const std::string& part) noexcept {
    return part.find_first_of(PathMarks::operators);
}

bool path_part_is_array_access(const std::string& part, char) noexcept {
    return PathMarks::ends_in_array_access(part);
}

std::vector<std::int64_t> parse_indices_from_path_part(const std::string& part, char) {
    std::vector<std::int64_t> indices;
    const std::string_view text = part;
    std::size_t from = 0;
    for (std::size_t end = text.find_first_of(",]"); end != npos; end = text.find_first_of(",]", from)) {
        const std::optional<std::int64_t> index = ZoHmiSrv::Algorithm::try_as_int64(text.substr(from, end - from));
        if (!index) break;
        if (indices.empty()) indices.reserve(4);
        indices.push_back(*index);
        const std::size_t next = text.find_first_of(",[", end);
        if (next == npos) break;
        from = next + 1;
    }
    return indices;
}

void assert_no_dereference_operators([[maybe_unused]] const std::string& part) {
    assert(find_first_dereference_operator(part) == npos);
}

} // namespace ZoHmiFdx
