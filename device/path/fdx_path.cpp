#include "device/path/fdx_path.h"

#include "device/path/detail/path_marks.h"
#include "device/path/symbol_path.h"

#include <stdexcept>

namespace ZoHmiFdx {

namespace {

constexpr std::size_t npos = std::string::npos;

std::string cut(std::string& text, std::size_t size, std::size_t tail) {
    std::string removed = text.substr(tail);
    text.resize(size);
    return removed;
}

/// Cuts the text at the mark. npos means no mark.
std::pair<std::string, char> cut_at_mark(std::string& text, std::size_t mark) {
    if (mark == npos) return {};
    const char found = text[mark];
    return {cut(text, mark, mark + 1), found};
}

std::size_t find_level_mark(const std::string& text) noexcept {
    std::size_t mark = text.find_last_of(PathMarks::levels);
    // All indices are one level: neither a "," inside them nor a mark directly behind a "]" ends the level.
    while (mark != npos && mark != 0 && text[mark] != '.' && (text[mark] == ',' || text[mark - 1] == ']'))
        mark = text.find_last_of(PathMarks::levels, mark - 1);
    return mark;
}

/// Returns the start of the trailing operators: the position behind the last other character, or 0.
std::size_t find_operators(const std::string& text) noexcept {
    return text.find_last_not_of(PathMarks::operators) + 1;
}

} // namespace

template <typename Derived>
void FdxPath<Derived>::push_back(char separator, const std::string& part) {
    if (separator == '[')
        push_back_indices('[' + part);
    else if (separator == '#')
        push_back_method(part);
    else
        push_back_subitem(part);
}

template <typename Derived>
void FdxPath<Derived>::push_back_method(const std::string& name) {
    if (text_.empty()) throw std::runtime_error("method has no parent");
    const std::size_t size = name.size(); // the name may be a part of this text, which grows
    text_ += '#';
    text_.append(name, 0, size);
}

template <typename Derived>
void FdxPath<Derived>::push_back_subitem(const std::string& name) {
    const std::size_t size = name.size(); // the name may be a part of this text, which grows
    if (!text_.empty()) text_ += '.';
    text_.append(name, 0, size);
}

template <typename Derived>
void FdxPath<Derived>::push_back_indices(const std::string& indices) {
    if (text_.empty()) throw std::runtime_error("indices have no parent");
    text_ += indices;
}

template <typename Derived>
std::pair<std::string, char> FdxPath<Derived>::pop_back() {
    return cut_at_mark(text_, text_.find_last_of(PathMarks::separators));
}

template <typename Derived>
std::pair<std::string, char> FdxPath<Derived>::pop_back_restrained() {
    return cut_at_mark(text_, find_level_mark(text_));
}

template <typename Derived>
std::string FdxPath<Derived>::remove_indices_and_dereference_operators() {
    const std::size_t last_part = text_.find_last_of(PathMarks::separators) + 1;
    return shrink(text_.find_first_of(PathMarks::indices_or_operators, last_part));
}

template <typename Derived>
std::string FdxPath<Derived>::trim_dereference_operators() {
    const std::size_t operators = find_operators(text_);
    return operators == 0 ? std::string() : shrink(operators);
}

template <typename Derived>
std::string FdxPath<Derived>::shrink(std::size_t n) {
    return n < text_.size() ? cut(text_, n, n) : std::string();
}

template <typename Derived>
void FdxPath<Derived>::shrink_from(const Derived& other, std::size_t n) {
    text_.assign(other.str(), 0, n);
}

template <typename Derived>
bool FdxPath<Derived>::is_global() const noexcept {
    return text_.starts_with('.');
}

template <typename Derived>
bool FdxPath<Derived>::is_array_access() const noexcept {
    return PathMarks::ends_in_array_access(text_);
}

template <typename Derived>
bool FdxPath<Derived>::includes_array_access() const noexcept {
    return text_.find('[') != npos;
}

template <typename Derived>
bool FdxPath<Derived>::last_part_is_method() const noexcept {
    const std::size_t separator = text_.find_last_of(PathMarks::separators);
    return separator != npos && text_[separator] == '#';
}

template <typename Derived>
std::size_t FdxPath<Derived>::depth() const noexcept {
    return PathMarks::separator_table.count_in(text_);
}

template <typename Derived>
std::size_t FdxPath<Derived>::full_depth() const noexcept {
    return PathMarks::level_table.count_in(text_);
}

template <typename Derived>
std::size_t FdxPath<Derived>::dereference_count() const noexcept {
    return text_.size() - find_operators(text_);
}

template <typename Derived>
std::string FdxPath<Derived>::dereference_operators() const {
    const std::size_t operators = find_operators(text_);
    return operators == 0 ? std::string() : text_.substr(operators);
}

template <typename Derived>
std::string FdxPath<Derived>::last_part() const {
    const std::size_t separator = text_.find_last_of(PathMarks::separators);
    return separator == npos ? std::string() : text_.substr(separator + 1);
}

template class FdxPath<UnqualifiedFdxPath>;
template class FdxPath<UniqueFdxPath>;
template class FdxPath<NativeFdxPath>;
template class FdxPath<SanitizedUniqueFdxPath>;
template class FdxPath<LookupFdxPath>;

} // namespace ZoHmiFdx
