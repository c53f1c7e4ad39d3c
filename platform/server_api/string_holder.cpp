#include "extension/host/string_holder.h"

#include "platform/server_api/member_names.h"

#include <utility>

namespace ZoHmiSrv {

using Layout::MemberNames;

String::String(const char* text) : text_(MemberNames::make(Layout::NameKey(text))) {
}

String::String(const String& other) noexcept : text_(other.text_) {
    MemberNames::share(text_);
}

String& String::operator=(const String& other) noexcept {
    return *this = String(other);
}

String& String::operator=(String&& other) noexcept {
    std::swap(text_, other.text_);
    return *this;
}

String::~String() {
    MemberNames::release(text_);
}

void String::set_name(const char* text) {
    *this = String(text);
}

int String::compare(const String& left, const String& right) noexcept {
    return MemberNames::compare(left.text_, right.text_);
}

} // namespace ZoHmiSrv
