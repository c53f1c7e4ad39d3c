// Paths as clients type them and entries as devices send them. The input is a number in one byte, a path up to the
// first line feed, and behind it a second path; all of it is an entry, too.

#include "device/code/code_page.h"
#include "device/path/const_symbol_path.h"
#include "device/path/symbol_entry.h"
#include "device/path/symbol_path.h"
#include "fuzz/require.h"
#include "tests/device/path/path_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using namespace ZoHmiFdx;
using path_text::path;

namespace {

constexpr std::size_t npos = std::string::npos;

void query(const UniqueFdxPath& p) {
    const std::string& text = p.str();
    require(p.depth() <= p.full_depth() && p.full_depth() <= p.size());
    require(p.dereference_count() <= p.size());
    const std::string operators = p.dereference_operators();
    require(operators.size() == p.dereference_count() || (operators.empty() && p.dereference_count() == p.size()));
    require(text.ends_with(operators) && text.ends_with(p.last_part()));
    require(p.is_array_access() == path_part_is_array_access(text, '.'));
    require(!p.last_part_is_method() || p.depth() > 0);
    require((find_first_dereference_operator(text) == npos) == (text.find_first_of("^`") == npos));
    require(parse_indices_from_path_part(text, '[').size() <= text.size() / 2);
}

/// Removes parts until none is left; adding a part back restores the text.
template <typename Pop>
void take_apart(UniqueFdxPath p, Pop pop) {
    for (;;) {
        const std::string before = p.str();
        const auto [part, separator] = (p.*pop)();
        if (separator == '\0') {
            require(part.empty() && p.str() == before);
            return;
        }
        require(p.size() + 1 + part.size() == before.size());
        (void)parse_indices_from_path_part(part, separator);
        if (!p.empty()) {
            UniqueFdxPath restored = p;
            restored.push_back(separator, part);
            require(restored.str() == before);
        }
    }
}

void cut(const UniqueFdxPath& whole, std::size_t n) {
    UniqueFdxPath p = whole;
    p.append_indices_and_dereference_operators(p.remove_indices_and_dereference_operators());
    require(p == whole);
    p.append_indices_and_dereference_operators(p.trim_dereference_operators());
    require(p == whole);
    p.append_indices_and_dereference_operators(p.shrink(n));
    require(p == whole);
    p.shrink_from(p, n);
    require(whole.str().starts_with(p.str()) && p.size() == std::min(n, whole.size()));
}

void convert(const UniqueFdxPath& p) {
    const SanitizedUniqueFdxPath sanitized = sanitize(p);
    require(sanitized.str() == path_text::empty_groups_in_place(p.str()));
    require(sanitized_path_if_contaminated(p).empty() || sanitized_path_if_contaminated(p) == sanitized.str());
    require(sanitized_path_if_contaminated(p).empty() ==
            (p.str().find(']', std::min(p.str().find('['), p.size())) == npos));
    const LookupFdxPath lookup = simplify(sanitized);
    require(lookup == to_lookup(p));
    require(lookup.str().find_first_of("^`[]") == npos);
    const NativeFdxPath native = to_native(p);
    require(native.str().find('`') == npos);
    require(native.size() + std::size_t(std::count(p.str().begin(), p.str().end(), '`')) == p.size());
    require(unsafe_to_unique(UnqualifiedFdxPath(p.str())).has_value() != p.includes_array_access());
}

void split(const std::string& text) {
    ConstSymbolPath p(text);
    require(p.parts().empty() == (*p.c_str() == '\0'));
    std::string joined;
    for (std::size_t i = 0; i < p.num_parts(); ++i) {
        joined += (i == 0 ? "" : "::") + p.at(i);
    }
    require(joined == p.c_str());
    require(p.num_parts() == 0 || p.starts_with(p.at(0).c_str()));
    require(p.to_mapping_name().find("::") == npos);
    p.sanity_check();
}

void read_entry(const std::uint8_t* data, std::size_t size) {
    const auto* entry = reinterpret_cast<const FdxSymbolEntry*>(data);
    const UniqueFdxPath p(entry, code_page_utf8, size);
    require(p.empty() || p.size() + sizeof *entry < size);
    require(UniqueFdxPath(entry, code_page_windows1252, size).empty() == p.empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    read_entry(data, size);
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t end = std::min(text.find('\n'), text.size());
    const auto first = path<UniqueFdxPath>(text.substr(0, end));
    const std::string second = text.substr(std::min(end + 1, text.size()));

    query(first);
    take_apart(first, &UniqueFdxPath::pop_back);
    take_apart(first, &UniqueFdxPath::pop_back_restrained);
    cut(first, *data);
    convert(first);
    split(second);
    return 0;
}
