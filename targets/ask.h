#pragma once

#include "binding/collections.h"
#include "binding/com_ptr.h"
#include "binding/counted_string.h"
#include "binding/error.h"

#include <cstdint>
#include <string>

namespace ZoHmiEventLogger {

/// What a getter of a proxy object hands out. Throws CAtlException when it fails.
template <class Object, class Interface, class T>
T ask(Object& object, HRESULT (Interface::*getter)(T*)) {
    T value{};
    ZoAtlCom::throw_if_failed((object.*getter)(&value));
    return value;
}

/// The same for counted strings, which are taken over and freed; a null one is "".
template <class Object, class Interface>
std::string ask_text(Object& object, HRESULT (Interface::*getter)(char**)) {
    ZoAtlCom::CountedString text;
    ZoAtlCom::throw_if_failed((object.*getter)(text.put()));
    return text.str();
}

/// An optional interface of an object; null when it is not offered.
template <class Interface>
ZoAtlCom::CComPtr<Interface> query(IUnknown& object) {
    return ZoAtlCom::CComQIPtr<Interface>(&object);
}

/// The item of a collection at an index; it may be null. Throws CAtlException when it fails.
template <class Item>
ZoAtlCom::CComPtr<Item> item_at(ZoEventLoggerFdxProxyLib::IZoCollection<Item>& collection, std::int32_t index) {
    ZoAtlCom::CComPtr<Item> item;
    ZoAtlCom::throw_if_failed(collection.GetItem(index, item.put()));
    return item;
}

} // namespace ZoHmiEventLogger
