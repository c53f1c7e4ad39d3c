#pragma once

#include <string>

namespace server {

class Console;
class EventList;
class Host;
class Input;

/// Shows the live table on the terminal at standard output until a key is pressed; then restores the former screen. The
/// table is drawn about four times a second, in the size of the window. Returns false when the input ended or a stop
/// came before a key. Asks the extension for texts, so it must not run inside a host call. [one thread]
bool watch(const EventList& list, Host& host, const Console& console, Input& keys, const std::string& language);

} // namespace server
