#pragma once

#include "support/export.h"

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace ZoHmiFdx {

/// The separator in the server's own symbol names.
constexpr const char* path_separator() noexcept {
    return "::";
}

/// One of the server's own symbol names, "domain::symbol::member". The first access to its parts splits the text and
/// fills a cache. So two threads must not call non-const methods of one object at once.
class ZO_EXPORT ConstSymbolPath {
public:
    /// The whole text.
    explicit ConstSymbolPath(std::string path) noexcept;
    /// Joins the parts.
    ConstSymbolPath(const std::string& first, const std::string& second);
    ConstSymbolPath(const std::string& first, const std::string& second, const std::string& third);
    ConstSymbolPath(const std::string& first, const std::string& second, const std::string& third,
                    const std::string& fourth);

    const std::string& str() const noexcept { return text_; }
    const char* c_str() const noexcept { return text_.c_str(); }

    const std::vector<std::string>& parts();
    std::size_t num_parts();
    /// Throws `std::out_of_range` for an index that is too large.
    const std::string& at(std::size_t index);

    /// True if the first parts are equal to these. Null counts as "".
    bool starts_with(const char* first);
    bool starts_with(const char* first, const char* second);
    bool starts_with(const char* first, const char* second, const char* third);
    bool starts_with(const char* first, const char* second, const char* third, const char* fourth);

    /// The text with "." for each "::".
    [[nodiscard]] std::string to_mapping_name() const;

    /// Asserts in debug builds, does nothing in others.
    void sanity_check() const;

private:
    bool begins_with(std::initializer_list<const char*> first_parts);

    std::string text_;
    std::optional<std::vector<std::string>> parts_;
};

} // namespace ZoHmiFdx
