#pragma once

#include "extension/host/export.h"

#include <string>

namespace ZoHmiSrv {

/// A holder of one UTF-8 text; a null pointer counts as "".
class ZOHMISRV_API String {
public:
    String() noexcept;
    String(const char* text); // NOLINT(google-explicit-constructor): a text is a String
    String(const String&);
    String(String&&) noexcept;
    String& operator=(const String&);
    String& operator=(String&&) noexcept;
    ~String();

    const char* name() const noexcept { return text_.c_str(); }
    void set_name(const char* text);
    bool empty() const noexcept { return text_.empty(); }

    /// Byte-wise.
    friend bool operator==(const String& left, const String& right) noexcept { return left.text_ == right.text_; }
    friend bool operator<(const String& left, const String& right) noexcept { return left.text_ < right.text_; }

private:
    std::string text_;
};

} // namespace ZoHmiSrv
