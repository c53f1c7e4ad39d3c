#include "binding/error.h"

#include "binding/counted_string.h"
#include "binding/error_table.h"
#include "binding/logger.h"

namespace ZoAtlCom {

std::string error_text(HRESULT code) {
    CountedString text;
    if (failed(ZoEventLoggerFdxProxyLibErrorMessage(code, text.put()))) return detail::table_text(code);
    return text.str();
}

} // namespace ZoAtlCom
