#include "device/code/code_page.h"

#include "support/utf8.h"

namespace ZoHmiFdx {

std::string to_utf8(const std::string& text, int code_page) {
    return code_page == code_page_utf8 ? text : ZoHmiSrv::UTF8::windows1252_to_utf8(text);
}

std::string utf8_to_codepage(const std::string& text, int code_page) {
    return code_page == code_page_utf8 ? text : ZoHmiSrv::UTF8::utf8_to_windows1252(text);
}

} // namespace ZoHmiFdx
