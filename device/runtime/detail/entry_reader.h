#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace ZoHmiFdx {

/// Reads the fields of a device's entry in their order. After a field that does not fit, the reader stays failed: every
/// later field is 0 or empty. So callers check once at the end.
class EntryReader {
public:
    using View = std::span<const unsigned char>;

    explicit EntryReader(View bytes) : bytes_(bytes) {}

    [[nodiscard]] bool failed() const noexcept { return failed_; }
    void fail() noexcept {
        failed_ = true;
        bytes_ = {};
    }
    [[nodiscard]] bool at_end() const noexcept { return bytes_.empty(); }

    template <std::integral T>
    T number() {
        T value = 0;
        if (const View field = take(sizeof value); !field.empty()) std::memcpy(&value, field.data(), sizeof value);
        return value;
    }
    /// Reads a text of `length` bytes and the terminator after it. The text ends at a zero inside it.
    std::string_view text(std::size_t length) {
        const View field = take(length + 1);
        if (field.empty()) return {};
        const auto* const start = reinterpret_cast<const char*>(field.data());
        return {start, strnlen(start, length)};
    }
    void skip(std::size_t length) { (void)take(length); }
    /// Reads an entry that begins with its own length, a number of 32 bits. The length counts itself and is at least
    /// `head` bytes.
    EntryReader entry(std::size_t head) {
        std::uint32_t length = 0;
        if (bytes_.size() >= sizeof length) std::memcpy(&length, bytes_.data(), sizeof length);
        if (length < head) fail();
        EntryReader nested(take(length));
        if (failed_) nested.fail();
        return nested;
    }

private:
    View take(std::size_t length) {
        if (length > bytes_.size()) {
            fail();
            return {};
        }
        const View field = bytes_.first(length);
        bytes_ = bytes_.subspan(length);
        return field;
    }

    View bytes_;
    bool failed_ = false;
};
static_assert(std::endian::native == std::endian::little, "the device's numbers are read where they lie");

} // namespace ZoHmiFdx
