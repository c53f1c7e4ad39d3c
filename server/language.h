#pragma once

#include <string>
#include <string_view>

namespace server {

/// Returns whether a text has the form of a language tag: letters, digits and hyphens, as in "de-DE". [any thread]
[[nodiscard]] bool is_language(std::string_view text);

/// Returns the language of a locale: "de-DE" for "de_DE.UTF-8@euro", "" for a locale without one such as "C". [any
/// thread]
[[nodiscard]] std::string language_of_locale(std::string_view locale);

/// Returns the language of messages in the environment: that of the first of LC_ALL, LC_MESSAGES and LANG that is set,
/// else "en-US". [any thread]
[[nodiscard]] std::string language_of_environment();

} // namespace server
