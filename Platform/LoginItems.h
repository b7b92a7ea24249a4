#pragma once
// The session's login items: the applications that start when the user logs in, in list order.
// Abstract so tests can use FakeLoginItems; the real one is XdgAutostartLoginItems (the user's
// XDG autostart folder).

#include <QList>
#include <QString>

#include <optional>

class LoginItems {
public:
    virtual ~LoginItems() = default;
    /// A snapshot of the items in list order, each resolved to the path of what it starts (absent
    /// for an item that does not resolve); absent when the list cannot be read at all.
    virtual std::optional<QList<std::optional<QString>>> snapshot() = 0;

    static LoginItems& shared();
    static void setShared(LoginItems* items);
};
