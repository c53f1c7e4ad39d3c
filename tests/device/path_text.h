#pragma once

#include <string>
#include <string_view>

namespace paths {

/// A path of any spelling with this text.
template <typename Path>
Path path(std::string_view text) {
    Path made;
    made.str() = std::string(text);
    return made;
}

} // namespace paths
