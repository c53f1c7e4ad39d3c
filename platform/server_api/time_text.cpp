#include "extension/host/time_text.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

namespace ZoHmiSrv {

namespace {

constexpr long second = 1'000'000'000;

void append(std::string& text, std::int64_t number, int digits) {
    std::array<char, 20> reversed{};
    std::size_t count = 0;
    for (; count < static_cast<std::size_t>(digits) || number > 0; number /= 10)
        reversed[count++] = static_cast<char>('0' + number % 10);
    while (count > 0)
        text += reversed[--count];
}

/// Reads a text from its front. After the first mismatch all operations fail.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool at_end() const noexcept { return rest_.empty(); }
    bool failed() const noexcept { return failed_; }
    bool accept(char c) noexcept {
        const bool there = !rest_.empty() && rest_.front() == c;
        rest_.remove_prefix(there ? 1 : 0);
        return there;
    }
    void expect(char c) noexcept { failed_ = !accept(c) || failed_; }
    bool digit_ahead() const noexcept { return !rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9'; }
    int digits(int count, int most) noexcept {
        int number = 0;
        for (int i = 0; i < count; ++i) {
            if (!digit_ahead()) {
                failed_ = true;
                return 0;
            }
            number = number * 10 + (rest_.front() - '0');
            rest_.remove_prefix(1);
        }
        failed_ = failed_ || number > most;
        return number;
    }

private:
    std::string_view rest_;
    bool failed_ = false;
};

/// Nanoseconds after the point, up to nine digits.
long fraction(Scanner& scan) noexcept {
    long part = 0;
    long unit = second;
    do {
        unit /= 10;
        part += unit * scan.digits(1, 9);
    } while (unit > 1 && scan.digit_ahead());
    return part;
}

std::optional<long> parse(std::string_view text) noexcept {
    Scanner scan(text);
    const int year = scan.digits(4, 9999);
    scan.expect('-');
    const int month = scan.digits(2, 12);
    scan.expect('-');
    const int day = scan.digits(2, 31);
    const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    if (scan.failed() || !date.ok()) return std::nullopt;
    std::int64_t seconds = std::int64_t{86400} * std::chrono::sys_days{date}.time_since_epoch().count();
    long nanoseconds = 0;
    if (!scan.at_end()) {
        if (!scan.accept(' ')) scan.expect('T');
        seconds += 3600 * scan.digits(2, 23);
        scan.expect(':');
        seconds += 60 * scan.digits(2, 59);
        if (scan.accept(':')) {
            seconds += scan.digits(2, 59);
            if (scan.accept('.')) nanoseconds = fraction(scan);
        }
        const bool plus = scan.accept('+');
        if (plus || scan.accept('-')) {
            int offset = 60 * scan.digits(2, 23);
            scan.expect(':');
            offset += scan.digits(2, 59);
            seconds += 60 * (plus ? -offset : offset);
        } else {
            scan.accept('Z');
        }
    }
    long result = 0;
    // The seconds round down and the rest is positive, so times before 1970 stay in range to the last nanosecond.
    const std::int64_t whole = seconds < 0 ? seconds + 1 : seconds;
    const long rest = seconds < 0 ? nanoseconds - second : nanoseconds;
    if (scan.failed() || !scan.at_end() || __builtin_mul_overflow(whole, second, &result) ||
        __builtin_add_overflow(result, rest, &result))
        return std::nullopt;
    return result;
}

} // namespace

std::string ns_to_iso(long nanoseconds) {
    using std::chrono::days;
    const std::chrono::sys_time<std::chrono::nanoseconds> time{std::chrono::nanoseconds{nanoseconds}};
    const auto midnight = std::chrono::floor<days>(time);
    const std::chrono::year_month_day date{midnight};
    // In seconds: the midnight before the earliest time overflows nanoseconds.
    const auto whole = std::chrono::floor<std::chrono::seconds>(time);
    const std::int64_t of_day = (whole - midnight).count();
    const long part = (nanoseconds % second + second) % second;

    std::string text;
    append(text, static_cast<int>(date.year()), 4);
    text += '-';
    append(text, static_cast<unsigned>(date.month()), 2);
    text += '-';
    append(text, static_cast<unsigned>(date.day()), 2);
    text += 'T';
    append(text, of_day / 3600, 2);
    text += ':';
    append(text, of_day / 60 % 60, 2);
    text += ':';
    append(text, of_day % 60, 2);
    if (part != 0) {
        text += '.';
        append(text, part, 9);
        while (text.ends_with("000"))
            text.resize(text.size() - 3);
    }
    return text + 'Z';
}

long iso_to_ns(const char* text) noexcept {
    return parse(text == nullptr ? "" : text).value_or(0);
}

} // namespace ZoHmiSrv
