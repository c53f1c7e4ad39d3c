#pragma once

#include <string>
#include <string_view>

namespace server {

/// True for what may name a language: letters, digits and hyphens, as in "de-DE".
[[nodiscard]] bool is_language(std::string_view text);

/// The language of a locale's name: "de_DE.UTF-8@euro" gives "de-DE". "" for a name without a language, as "C" is.
[[nodiscard]] std::string language_of_locale(std::string_view locale);

/// The language that the environment asks for messages in: of the first of LC_ALL, LC_MESSAGES and LANG that is set;
/// "en-US" when it names none.
[[nodiscard]] std::string language_of_environment();

} // namespace server
