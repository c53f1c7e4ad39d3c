#pragma once

/// Marks what `libZoHmiSrvExt.so` exports: everything else in this build is compiled with hidden visibility. The type
/// information of the interfaces must be one and the same on both sides, or the cross-cast of the host object fails.
#define ZOHMISRV_API __attribute__((visibility("default")))
