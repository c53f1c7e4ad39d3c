#pragma once

/// Marks the exports of `libZoHmiSrvExt.so`: all other code of this build has hidden visibility. Both sides must use
/// the same type information of each interface, or the cross-cast of the host object fails.
#define ZOHMISRV_API __attribute__((visibility("default")))

// The headers of this folder guard by ZOHMISRV_WITHOUT_EXTRAS each operation that only this stand-in has. The product
// must compile without these operations: `tools/check_host_interface` defines the macro and compiles the product.
