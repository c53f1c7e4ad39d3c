#pragma once

#include "support/export.h"

#include <string>

namespace ZoHmiFdx {

/// The state of the targets and their runtimes.
class ZO_EXPORT State {
public:
    /// True for an attribute that clients do not see. [any thread]
    [[nodiscard]] bool is_plc_attribute_ignored(const std::string& key) const;
};

} // namespace ZoHmiFdx
