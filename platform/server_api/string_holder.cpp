#include "extension/host/string_holder.h"

#include "platform/server_api/member_names.h"

#include <utility>

namespace ZoHmiSrv {

using Layout::MemberNames;

Layout::MemberName String::long_text(const Layout::NameKey& key) {
    return MemberNames::make(key);
}

String::String(const String& other) noexcept : text_(other.text_) {
    MemberNames::share(text_);
}

String& String::operator=(const String& other) noexcept {
    return *this = String(other);
}

void String::release() noexcept {
    MemberNames::release(text_);
}

void String::set_name(const char* text) {
    *this = String(text);
}

int String::compare(const String& left, const String& right) noexcept {
    return MemberNames::compare(left.text_, right.text_);
}

} // namespace ZoHmiSrv
