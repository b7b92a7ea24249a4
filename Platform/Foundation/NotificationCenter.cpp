// Observers live in one list guarded by a mutex; delivery copies the matching entries first, so
// an observer may add or remove observers (itself included) while it is being called.

#include "Platform/Foundation/NotificationCenter.h"

#include <algorithm>

NotificationCenter& NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return center;
}

NotificationCenter::ObserverToken NotificationCenter::addObserver(
    const QString& name, NotificationSender sender, ObserverBlock block, QObject* context)
{
    ObserverToken token;
    {
        std::lock_guard lock(m_mutex);
        token = m_nextToken++;
        m_entries.push_back(
            { token, name, sender, std::make_shared<ObserverBlock>(std::move(block)) });
    }
    if (context)
        QObject::connect(context, &QObject::destroyed, [this, token] { removeObserver(token); });
    return token;
}

void NotificationCenter::removeObserver(ObserverToken token)
{
    std::lock_guard lock(m_mutex);
    std::erase_if(m_entries, [token](const Entry& e) { return e.token == token; });
}

int NotificationCenter::observerCount() const
{
    std::lock_guard lock(m_mutex);
    return int(m_entries.size());
}

bool NotificationCenter::isRegistered(ObserverToken token) const
{
    std::lock_guard lock(m_mutex);
    return std::any_of(
        m_entries.begin(), m_entries.end(), [token](const Entry& e) { return e.token == token; });
}

void NotificationCenter::postNotification(const Notification& notification)
{
    std::vector<Entry> matching;
    {
        std::lock_guard lock(m_mutex);
        for (const Entry& e : m_entries) {
            if ((e.name.isEmpty() || e.name == notification.name)
                && (!e.sender || e.sender == notification.object))
                matching.push_back(e);
        }
    }
    for (const Entry& e : matching) {
        if (isRegistered(e.token))
            (*e.block)(notification);
    }
}

void NotificationCenter::postNotificationName(
    const QString& name, NotificationSender sender, const QVariantMap& userInfo)
{
    postNotification(Notification { name, sender, userInfo });
}
