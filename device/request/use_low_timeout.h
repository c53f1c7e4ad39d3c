#pragma once

#include "support/export.h"

namespace ZoHmiFdx {

/// Sets another timeout for a client port for the lifetime of this object. Does not restore a saved timeout of 0 or
/// less. [any thread]
class ZO_EXPORT UseLowTimeout {
public:
    UseLowTimeout(unsigned port, int milliseconds);
    ~UseLowTimeout();
    UseLowTimeout(const UseLowTimeout&) = delete;
    UseLowTimeout& operator=(const UseLowTimeout&) = delete;

private:
    unsigned port_;
    int saved_timeout_;
};

} // namespace ZoHmiFdx
