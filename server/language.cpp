#include "server/language.h"

#include <algorithm>
#include <cstdlib>

namespace server {

bool is_language(std::string_view text) {
    return !text.empty() && text.size() < 64 && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
    });
}

std::string language_of_locale(std::string_view locale) {
    std::string language(locale.substr(0, locale.find_first_of(".@")));
    std::replace(language.begin(), language.end(), '_', '-');
    if (language == "C" || language == "POSIX" || !is_language(language)) return {};
    return language;
}

std::string language_of_environment() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* locale = std::getenv(name);
        if (locale == nullptr || *locale == '\0') continue;
        const std::string language = language_of_locale(locale);
        return language.empty() ? "en-US" : language;
    }
    return "en-US";
}

} // namespace server
