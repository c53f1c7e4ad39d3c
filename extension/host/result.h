#pragma once

#include "extension/host/error_value.h"
#include "extension/host/export.h"
#include "extension/host/string_holder.h"
#include "extension/host/value_type.h"

#include <string>

namespace ZoHmiSrv {

/// A result number with an optional UTF-8 text.
class ZOHMISRV_API ResultPair {
public:
    ResultPair() noexcept; ///< success
    ResultPair(ErrorValue result) noexcept;
    /// A null text counts as "".
    ResultPair(ErrorValue result, const char* text);
    ResultPair(const ResultPair&);
    ResultPair(ResultPair&&) noexcept;
    ResultPair& operator=(const ResultPair&);
    ResultPair& operator=(ResultPair&&) noexcept;
    ~ResultPair();

    ErrorValue result() const noexcept { return result_; }

    /// Compares the number alone.
    friend bool operator==(const ResultPair& pair, ErrorValue value) noexcept { return pair.result_ == value; }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    const char* text() const noexcept {
        return text_.name();
    }
#endif

private:
    ErrorValue result_ = HMI_SUCCESS;
    String text_;
};

/// Builds the text of a `ResultPair` piece by piece. One thread owns it.
class ZOHMISRV_API ResultStream {
public:
    explicit ResultStream(ErrorValue result) noexcept;
    ResultStream(const ResultStream&) = delete;
    ResultStream& operator=(const ResultStream&) = delete;
    ~ResultStream();

    ResultStream& operator<<(ValueType type); ///< appends the type's name

    operator ResultPair() const;

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    ResultStream& operator<<(const char* text);
    ResultStream& operator<<(int number);
    ResultStream& operator<<(long number);
    ResultStream& operator<<(unsigned long number);
    ResultStream& operator<<(double number); ///< the shortest text that reads back the same
#endif

private:
    ErrorValue result_;
    std::string text_;
};

} // namespace ZoHmiSrv
