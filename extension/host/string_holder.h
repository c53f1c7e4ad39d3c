#pragma once

#include "extension/host/detail/value_layout.h"
#include "extension/host/export.h"

#include <bit>
#include <utility>

namespace ZoHmiSrv {

/// Owns one UTF-8 text; null counts as "". Copies never allocate: they share a long text.
class ZOHMISRV_API String {
public:
    /// A short text that the compiler knows costs no call.
    String(const char* text) : String(Layout::NameKey(text)) {}
    String(const String& other) noexcept;
    String(String&& other) noexcept : text_(other.text_) { other.text_ = {}; }
    String& operator=(const String& other) noexcept;
    String& operator=(String&& other) noexcept {
        std::swap(text_, other.text_);
        return *this;
    }
    ~String() {
        if (text_.is_shared()) release();
    }

    const char* name() const noexcept { return text_.c_str(); }
    void set_name(const char* text);

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    String() noexcept {
    }
    bool empty() const noexcept {
        return *name() == '\0';
    }
    /// Byte-wise.
    friend bool operator==(const String& left, const String& right) noexcept {
        return compare(left, right) == 0;
    }
    friend bool operator<(const String& left, const String& right) noexcept {
        return compare(left, right) < 0;
    }
#endif

private:
    explicit String(const Layout::NameKey& key)
        : text_(key.is_long() ? long_text(key) : std::bit_cast<Layout::MemberName>(key.words)) {
    }
    static Layout::MemberName long_text(const Layout::NameKey& key);
    void release() noexcept;
    static int compare(const String& left, const String& right) noexcept;

    Layout::MemberName text_;
};

} // namespace ZoHmiSrv
