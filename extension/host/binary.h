#pragma once

#include "extension/host/export.h"

#include <cstddef>

namespace ZoHmiSrv {

/// A view of bytes. Those of a `Value` are owned by it and stay until it is written, moved or destroyed; small ones lie
/// inside the `Value` itself.
class ZOHMISRV_API Binary {
public:
    constexpr Binary() noexcept = default;
    constexpr Binary(const void* data, std::size_t size) noexcept : size_(size), data_(data) {}

    constexpr std::size_t size() const noexcept { return size_; }
    constexpr bool empty() const noexcept { return size_ == 0; }
    /// The bytes; may be null when there are none.
    const unsigned char* data() const noexcept { return static_cast<const unsigned char*>(data_); }

private:
    std::size_t size_ = 0;
    const void* data_ = nullptr;
};

} // namespace ZoHmiSrv
