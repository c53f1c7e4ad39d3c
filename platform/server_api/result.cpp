#include "extension/host/result.h"

#include "platform/server_api/number_text.h"

namespace ZoHmiSrv {

ResultPair::ResultPair() noexcept = default;
ResultPair::ResultPair(ErrorValue result) noexcept : result_(result) {
}
ResultPair::ResultPair(ErrorValue result, const char* text) : result_(result), text_(text) {
}
ResultPair::ResultPair(const ResultPair&) = default;
ResultPair::ResultPair(ResultPair&&) noexcept = default;
ResultPair& ResultPair::operator=(const ResultPair&) = default;
ResultPair& ResultPair::operator=(ResultPair&&) noexcept = default;
ResultPair::~ResultPair() = default;

ResultStream::ResultStream(ErrorValue result) noexcept : result_(result) {
}
ResultStream::~ResultStream() = default;

ResultStream& ResultStream::operator<<(const char* text) {
    text_ += text == nullptr ? "" : text;
    return *this;
}
ResultStream& ResultStream::operator<<(ValueType type) {
    return *this << value_type_to_string(type);
}
ResultStream& ResultStream::operator<<(int number) {
    return *this << static_cast<long>(number);
}
ResultStream& ResultStream::operator<<(long number) {
    text_ += Numbers::to_text(number);
    return *this;
}
ResultStream& ResultStream::operator<<(unsigned long number) {
    text_ += Numbers::to_text(number);
    return *this;
}
ResultStream& ResultStream::operator<<(double number) {
    text_ += Numbers::to_text(number);
    return *this;
}

ResultStream::operator ResultPair() const {
    return {result_, text_.c_str()};
}

} // namespace ZoHmiSrv
