#pragma once

#include "support/export.h"

#include <string>

namespace ZoHmiFdx {

/// What is known about the targets and their runtimes.
class ZO_EXPORT State {
public:
    /// The attribute is the library's own affair and is not shown to clients. [any thread]
    [[nodiscard]] bool is_plc_attribute_ignored(const std::string& key) const;
};

} // namespace ZoHmiFdx
