#pragma once

#include "support/export.h"

namespace ZoHmiFdx {

/// Gives a client port another timeout for a scope. A saved timeout of 0 or less is not restored. [any thread]
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
