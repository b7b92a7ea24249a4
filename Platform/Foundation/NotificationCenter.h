#pragma once
// Broadcast notifications in the platform's manner: observers register for a name and a sender
// (either may be left open), and every posted notification reaches each matching observer, in
// the order they registered, on the thread that posts it.

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <mutex>
#include <vector>

/// Identifies who sent a notification: an object's address, or the address of a class-level tag
/// when a class sends it. Only compared, never dereferenced by the center.
using NotificationSender = const void*;

struct Notification {
    QString name;
    NotificationSender object = nullptr;
    QVariantMap userInfo;
};

class NotificationCenter {
public:
    using ObserverBlock = std::function<void(const Notification&)>;
    using ObserverToken = quint64;

    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// The process-wide center.
    static NotificationCenter& defaultCenter();

    /// Calls block for every notification named name (any name when empty) from sender (any
    /// sender when null). When context is given, the observer goes away with it. The token
    /// removes the observer again.
    ObserverToken addObserver(const QString& name, NotificationSender sender, ObserverBlock block,
        QObject* context = nullptr);
    void removeObserver(ObserverToken token);
    int observerCount() const;

    /// Delivers at once to every matching observer. An observer removed by an earlier one during
    /// the same delivery is not called any more.
    void postNotification(const Notification& notification);
    void postNotificationName(const QString& name, NotificationSender sender,
        const QVariantMap& userInfo = QVariantMap());

private:
    struct Entry {
        ObserverToken token;
        QString name;
        NotificationSender sender;
        std::shared_ptr<ObserverBlock> block;
    };
    bool isRegistered(ObserverToken token) const;

    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries;
    ObserverToken m_nextToken = 1;
};
