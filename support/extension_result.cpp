#include "support/extension_result.h"

namespace ZoHmiSrv {

ExtensionResultStream& ExtensionResultStream::operator<<(const std::string& name) {
    text_.append(1, '\'').append(name).append(1, '\'');
    return *this;
}

ExtensionResultStream& ExtensionResultStream::operator<<(const char* wording) {
    if (wording != nullptr) text_ += wording;
    return *this;
}

ExtensionResultStream::operator ExtensionResult() const {
    std::string text = text_;
    if (!text.empty() && text.back() != '.') text += '.';
    if (!context_.empty()) text.append(" [").append(context_).append("]");
    return ExtensionResult(code_, std::move(text));
}

} // namespace ZoHmiSrv
