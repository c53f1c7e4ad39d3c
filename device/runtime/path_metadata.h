#pragma once

#include "device/path/symbol_path.h"
#include "support/export.h"

namespace ZoHmiFdx {

/// One path in all its spellings. Threads share it, so it is constant after its creation.
class ZO_EXPORT PathMetadata {
public:
    PathMetadata() = default;
    explicit PathMetadata(UniqueFdxPath path);

    [[nodiscard]] const UniqueFdxPath& unique() const noexcept { return unique_; }
    [[nodiscard]] const NativeFdxPath& native() const noexcept { return native_; }
    [[nodiscard]] const SanitizedUniqueFdxPath& sanitized() const noexcept { return sanitized_; }
    [[nodiscard]] const LookupFdxPath& lookup() const noexcept { return lookup_; }

    /// Clears all spellings.
    void reset() noexcept;

private:
    UniqueFdxPath unique_;
    NativeFdxPath native_;
    SanitizedUniqueFdxPath sanitized_;
    LookupFdxPath lookup_;
};

} // namespace ZoHmiFdx
