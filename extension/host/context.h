#pragma once

#include "extension/host/export.h"
#include "extension/host/string_holder.h"

namespace ZoHmiSrv {

/// The client session on whose behalf a call runs.
class ZOHMISRV_API Session {
public:
    Session(const Session&);
    Session(Session&&) noexcept;
    Session& operator=(const Session&);
    Session& operator=(Session&&) noexcept;
    ~Session();

    const char* id() const noexcept { return id_.name(); }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    Session() noexcept; ///< no session: the id is ""
    explicit Session(const char* id);
    friend bool operator==(const Session&, const Session&) noexcept = default;
#endif

private:
    String id_;
};

/// The caller on whose behalf a call runs. The context of `init` has the extension's domain.
class ZOHMISRV_API Context {
public:
    Context() noexcept;
    Context(const Context&);
    Context(Context&&) noexcept;
    Context& operator=(const Context&);
    Context& operator=(Context&&) noexcept;
    ~Context();

    const char* domain() const noexcept { return domain_.name(); }
    void set_domain(const char* domain);
    const Session& session() const noexcept { return session_; }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    void set_session(const Session& session);
#endif

private:
    String domain_;
    Session session_;
};

} // namespace ZoHmiSrv
