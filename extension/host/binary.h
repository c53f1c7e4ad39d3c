#pragma once

#include "extension/host/export.h"

#include <cstddef>

namespace ZoHmiSrv {

/// A view of bytes. A `Value` owns its bytes: they are valid until the `Value` is written, moved or destroyed.
class ZOHMISRV_API Binary {
public:
    constexpr Binary() noexcept = default;
    constexpr Binary(const void* data, std::size_t size) noexcept : size_(size), data_(data) {}

    constexpr std::size_t size() const noexcept { return size_; }
    /// May be null for an empty view.
    const unsigned char* data() const noexcept { return static_cast<const unsigned char*>(data_); }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    constexpr bool empty() const noexcept {
        return size_ == 0;
    }
#endif

private:
    std::size_t size_ = 0;
    const void* data_ = nullptr;
};

} // namespace ZoHmiSrv
