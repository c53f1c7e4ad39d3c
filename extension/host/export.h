#pragma once

/// Marks the exports of `libZoHmiSrvExt.so`: all other code of this build has hidden visibility. Both sides must see
/// one type information of each interface, or the cross-cast of the host object fails.
#define ZOHMISRV_API __attribute__((visibility("default")))

// The headers of this folder guard each operation that only this stand-in has by ZOHMISRV_WITHOUT_EXTRAS. The product
// must compile without these operations: `tools/check_host_interface` defines the macro and compiles the product.
