#pragma once

#include "support/export.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace ZoHmiFdx {

class UnqualifiedFdxPath;
class UniqueFdxPath;
class NativeFdxPath;
class SanitizedUniqueFdxPath;
class LookupFdxPath;

/// The text of a symbol's path, in UTF-8, and its grammar. "." separates parts; "#" precedes a method. A part may end
/// in groups of indices, "arr[1,2][3]", and then in dereference operators: "^" for a pointer, "`" for a reference. A
/// path that begins with "." is global: its first part is empty.
///
/// `Derived` is the spelling of the text (symbol_path.h), so that the compiler keeps spellings apart. No operation
/// checks the text: malformed text passes through. [any thread]
template <typename Derived>
class ZO_EXPORT FdxPath {
public:
    const std::string& str() const noexcept { return text_; }
    std::string& str() noexcept { return text_; }
    const char* c_str() const noexcept { return text_.c_str(); }
    bool empty() const noexcept { return text_.empty(); }
    std::size_t size() const noexcept { return text_.size(); }
    void clear() noexcept { text_.clear(); }

    /// Reverses a pop: adds indices (with the bracket) for "[", a method for "#", else a member. Exact only for a path
    /// that is not empty.
    void push_back(char separator, const std::string& part);
    /// Throws `std::runtime_error` on an empty path.
    void push_back_method(const std::string& name);
    /// The first part of an empty path, else a member.
    void push_back_subitem(const std::string& name);
    /// Requires indices with brackets. Throws `std::runtime_error` on an empty path.
    void push_back_indices(const std::string& indices);

    /// Removes the last part with its indices and operators. Returns the part and the separator before it. The first
    /// part stays: the result is "" and 0 then.
    std::pair<std::string, char> pop_back();
    /// As `pop_back`, but the index groups of the last part are a level of their own: "a.b[1][2]" gives "1][2]" and
    /// '['. One step removes all groups, so `full_depth` is not the number of steps. The step also removes a method
    /// directly behind the indices. Any mark at the start of the text ends a part.
    std::pair<std::string, char> pop_back_restrained();
    /// Cuts the last part at its first index group or operator. Returns the rest.
    std::string remove_indices_and_dereference_operators();
    /// Cuts and returns the trailing operators. A text of operators alone is unchanged.
    std::string trim_dereference_operators();
    /// Cuts the text to `n` bytes. Returns the rest.
    std::string shrink(std::size_t n);
    /// Becomes the first `n` bytes of `other`, or all bytes for npos. `other` may be this path.
    void shrink_from(const Derived& other, std::size_t n);

    bool is_global() const noexcept;
    /// True if the path ends in an array access. Operators and separators behind it do not count.
    bool is_array_access() const noexcept;
    bool includes_array_access() const noexcept;
    bool last_part_is_method() const noexcept;

    /// The number of separators, with the first one of a global path.
    std::size_t depth() const noexcept;
    /// The number of separators and of index dimensions.
    std::size_t full_depth() const noexcept;
    /// The number of trailing operators.
    std::size_t dereference_count() const noexcept;
    /// The trailing operators; "" for a text of operators alone.
    std::string dereference_operators() const;
    /// The text behind the last separator; "" without a separator.
    std::string last_part() const;

    friend bool operator==(const FdxPath& left, const FdxPath& right) noexcept { return left.text_ == right.text_; }
    friend std::strong_ordering operator<=>(const FdxPath& left, const FdxPath& right) noexcept {
        return left.text_ <=> right.text_;
    }

protected:
    FdxPath() = default;
    explicit FdxPath(std::string text) noexcept : text_(std::move(text)) {}
    FdxPath(const FdxPath&) = default;
    FdxPath(FdxPath&&) noexcept = default;
    FdxPath& operator=(const FdxPath&) = default;
    FdxPath& operator=(FdxPath&&) noexcept = default;
    ~FdxPath() = default;

private:
    std::string text_;
};

/// A path in a spelling with indices and operators.
template <typename Derived>
class UniqueFdxPathBase : public FdxPath<Derived> {
public:
    /// Appends the result of `remove_indices_and_dereference_operators`, or any other text, unchanged.
    void append_indices_and_dereference_operators(const std::string& text) { this->str() += text; }

protected:
    using FdxPath<Derived>::FdxPath;
};

extern template class FdxPath<UnqualifiedFdxPath>;
extern template class FdxPath<UniqueFdxPath>;
extern template class FdxPath<NativeFdxPath>;
extern template class FdxPath<SanitizedUniqueFdxPath>;
extern template class FdxPath<LookupFdxPath>;

/// Paths as keys: tables with these three take a plain text for a look-up too.
struct FdxPathHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
    template <typename Derived>
    std::size_t operator()(const FdxPath<Derived>& path) const noexcept {
        return (*this)(std::string_view(path.str()));
    }
};

template <typename Compare>
struct FdxPathCompare {
    using is_transparent = void;
    template <typename Left, typename Right>
    bool operator()(const Left& left, const Right& right) const noexcept {
        return Compare()(text_of(left), text_of(right));
    }

private:
    static std::string_view text_of(std::string_view text) noexcept { return text; }
    template <typename Derived>
    static std::string_view text_of(const FdxPath<Derived>& path) noexcept {
        return path.str();
    }
};
using FdxPathEqual = FdxPathCompare<std::equal_to<std::string_view>>;
using FdxPathLess = FdxPathCompare<std::less<std::string_view>>;

} // namespace ZoHmiFdx
