// Uses one thing of each library that is linked: values, net ids, text encodings.
#include "device/net/net_id.h"
#include "extension/host/value.h"
#include "support/utf8.h"

#include <string>

int main() {
    ZoHmiFdx::NrxAddr address;
    ZoHmiFdx::nrx_net_id_from_string(&address, "5.12.82.40.1.1");
    ZoHmiSrv::Value value;
    value.set_type(ZoHmiSrv::ValueType::Struct).insert("host", ZoHmiFdx::to_string(address.net_id, true).c_str());
    const std::string host = value["host"].get_string();
    return ZoHmiSrv::UTF8::is_utf8(host.c_str()) && host == "5.12.82.40" ? 0 : 1;
}
