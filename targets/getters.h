#pragma once

#include "binding/collections.h"
#include "binding/com_ptr.h"
#include "binding/counted_string.h"
#include "binding/error.h"
#include "extension/host/timestamp.h"

#include <cstdint>

namespace ZoHmiEventLogger {

/// Calls a getter of a proxy object and returns its value. Throws CAtlException when the call fails.
template <class Object, class Interface, class T>
T get(Object& object, HRESULT (Interface::*getter)(T*)) {
    T value{};
    ZoAtlCom::throw_if_failed((object.*getter)(&value));
    return value;
}

/// The same for a file time, converted to the server's time.
template <class Object, class Interface>
ZoHmiSrv::Timestamp get_time(Object& object, HRESULT (Interface::*getter)(std::int64_t*)) {
    return ZoHmiSrv::Timestamp::from_file_time(get(object, getter));
}

/// The same for a counted string, which the result owns. A null string counts as "".
template <class Object, class Interface>
ZoAtlCom::CountedString get_text(Object& object, HRESULT (Interface::*getter)(char**)) {
    ZoAtlCom::CountedString text;
    ZoAtlCom::throw_if_failed((object.*getter)(text.put()));
    return text;
}

/// An optional interface of an object; null when the object does not offer it.
template <class Interface>
ZoAtlCom::CComPtr<Interface> query(IUnknown& object) {
    return ZoAtlCom::CComQIPtr<Interface>(&object);
}

/// The item of a collection at an index; it may be null. Throws CAtlException when the call fails.
template <class Item>
ZoAtlCom::CComPtr<Item> item_at(ZoEventLoggerFdxProxyLib::IZoCollection<Item>& collection, std::int32_t index) {
    ZoAtlCom::CComPtr<Item> item;
    ZoAtlCom::throw_if_failed(collection.GetItem(index, item.put()));
    return item;
}

} // namespace ZoHmiEventLogger
