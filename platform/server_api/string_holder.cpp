#include "extension/host/string_holder.h"

#include <string>
#include <utility>

namespace ZoHmiSrv {

String::String() noexcept = default;
String::String(const char* text) : text_(text == nullptr ? "" : text) {
}
String::String(const String&) = default;
String::String(String&&) noexcept = default;
String& String::operator=(const String&) = default;
String& String::operator=(String&&) noexcept = default;
String::~String() = default;

void String::set_name(const char* text) {
    text_ = text == nullptr ? "" : text;
}

} // namespace ZoHmiSrv
