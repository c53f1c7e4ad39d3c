#pragma once

#include <string>

namespace server {

class Console;
class EventList;
class Host;
class Input;

/// Shows the live table on the terminal at standard output, drawn about four times a second in the window's size, until
/// a key is pressed; the screen is the operator's own again afterwards. False when the input ended, or a stop came,
/// before there was a key. Asks the extension for texts, so never to be called inside a host call. [one thread]
bool watch(const EventList& list, Host& host, const Console& console, Input& keys, const std::string& language);

} // namespace server
