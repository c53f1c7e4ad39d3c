#pragma once

#include "binding/collections.h"
#include "binding/com_ptr.h"
#include "binding/counted_string.h"
#include "binding/error.h"
#include "extension/host/timestamp.h"

#include <cstdint>

namespace ZoHmiEventLogger {

/// What a getter of a proxy object hands out. Throws CAtlException when it fails.
template <class Object, class Interface, class T>
T ask(Object& object, HRESULT (Interface::*getter)(T*)) {
    T value{};
    ZoAtlCom::throw_if_failed((object.*getter)(&value));
    return value;
}

/// The same for file times, as the server's.
template <class Object, class Interface>
ZoHmiSrv::Timestamp ask_time(Object& object, HRESULT (Interface::*getter)(std::int64_t*)) {
    return ZoHmiSrv::Timestamp::from_file_time(ask(object, getter));
}

/// The same for counted strings, which are taken over and freed; a null one counts as "".
template <class Object, class Interface>
ZoAtlCom::CountedString ask_text(Object& object, HRESULT (Interface::*getter)(char**)) {
    ZoAtlCom::CountedString text;
    ZoAtlCom::throw_if_failed((object.*getter)(text.put()));
    return text;
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
