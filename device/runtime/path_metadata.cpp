#include "device/runtime/path_metadata.h"

#include <utility>

namespace ZoHmiFdx {

PathMetadata::PathMetadata(UniqueFdxPath path)
    : unique_(std::move(path)), native_(to_native(unique_)), sanitized_(sanitize(unique_)),
      lookup_(simplify(sanitized_)) {
}

void PathMetadata::reset() noexcept {
    unique_.clear();
    native_.clear();
    sanitized_.clear();
    lookup_.clear();
}

} // namespace ZoHmiFdx
