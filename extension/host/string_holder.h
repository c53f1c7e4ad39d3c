#pragma once

#include "extension/host/detail/value_layout.h"

namespace ZoHmiSrv {

/// A holder of one UTF-8 text; a null pointer counts as "". Copies never allocate: a longer text is shared.
class ZOHMISRV_API String {
public:
#ifndef ZOHMISRV_WITHOUT_EXTRAS
    String() noexcept {}
#endif
    String(const char* text);
    String(const String& other) noexcept;
    String(String&& other) noexcept : text_(other.text_) { other.text_ = {}; }
    String& operator=(const String& other) noexcept;
    String& operator=(String&& other) noexcept;
    ~String();

    const char* name() const noexcept { return text_.c_str(); }
    void set_name(const char* text);
#ifndef ZOHMISRV_WITHOUT_EXTRAS
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
    static int compare(const String& left, const String& right) noexcept;

    Layout::MemberName text_;
};

} // namespace ZoHmiSrv
