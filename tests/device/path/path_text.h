#pragma once

#include <string>
#include <string_view>

namespace path_text {

/// A path of any spelling with this text.
template <typename Path>
Path path(std::string_view text) {
    Path made;
    made.str() = std::string(text);
    return made;
}

/// Empties group by group in place: what sanitizing does in one pass.
inline std::string empty_groups_in_place(std::string text) {
    for (std::size_t from = 0;;) {
        const std::size_t open = text.find('[', from);
        if (open == std::string::npos || open + 1 == text.size()) return text;
        const std::size_t close = text.find(']', open + 1);
        if (close == std::string::npos) return text;
        text.erase(open + 1, close - open - 1);
        from = open + 1;
    }
}

} // namespace path_text
