// The queue rides on Qt's posted events: one event per posting style is waiting at most, sent to
// a small object living in the queue's thread. The "when idle" event has the lowest priority, so
// Qt delivers it after every normal event already waiting or posted meanwhile; the "as soon as
// possible" one goes in line with normal events.

#include "Platform/Foundation/NotificationQueue.h"

#include <QCoreApplication>
#include <QEvent>

#include <memory>

namespace {
const QEvent::Type kFlushEvent = QEvent::Type(QEvent::registerEventType());

bool matches(const Notification& a, const Notification& b, int mask)
{
    if (mask == NotificationNoCoalescing)
        return false;
    if ((mask & NotificationCoalescingOnName) && a.name != b.name)
        return false;
    if ((mask & NotificationCoalescingOnSender) && a.object != b.object)
        return false;
    return true;
}

class FlushEvent final : public QEvent {
public:
    explicit FlushEvent(PostingStyle s)
        : QEvent(kFlushEvent)
        , style(s)
    {
    }
    PostingStyle style;
};
} // namespace

class NotificationQueue::Poster final : public QObject {
public:
    explicit Poster(NotificationQueue* queue)
        : m_queue(queue)
    {
    }
    bool event(QEvent* e) override
    {
        if (e->type() != kFlushEvent)
            return QObject::event(e);
        m_queue->flush(static_cast<FlushEvent*>(e)->style);
        return true;
    }

private:
    NotificationQueue* m_queue;
};

NotificationQueue::NotificationQueue(NotificationCenter& center)
    : m_center(center)
    , m_poster(new Poster(this))
{
}

NotificationQueue::~NotificationQueue()
{
    delete m_poster.data();
}

NotificationQueue& NotificationQueue::defaultQueue()
{
    thread_local std::unique_ptr<NotificationQueue> queue;
    if (!queue)
        queue = std::make_unique<NotificationQueue>(NotificationCenter::defaultCenter());
    return *queue;
}

void NotificationQueue::enqueueNotification(const Notification& notification, PostingStyle style)
{
    enqueueNotification(
        notification, style, NotificationCoalescingOnName | NotificationCoalescingOnSender);
}

void NotificationQueue::enqueueNotification(
    const Notification& notification, PostingStyle style, int coalesceMask)
{
    const bool similarWaits = std::any_of(m_pending.begin(), m_pending.end(),
        [&](const auto& p) { return matches(p.second, notification, coalesceMask); });
    if (style == PostNow) {
        // Posting now stands for everything similar that waits.
        dequeueNotificationsMatching(notification, coalesceMask);
        m_center.postNotification(notification);
        return;
    }
    if (similarWaits)
        return;
    m_pending.append({ style, notification });
    bool& scheduled = style == PostWhenIdle ? m_idleScheduled : m_asapScheduled;
    if (!scheduled && m_poster) {
        scheduled = true;
        QCoreApplication::postEvent(m_poster, new FlushEvent(style),
            style == PostWhenIdle ? int(Qt::LowEventPriority) : int(Qt::NormalEventPriority));
    }
}

void NotificationQueue::dequeueNotificationsMatching(
    const Notification& notification, int coalesceMask)
{
    m_pending.removeIf(
        [&](const auto& p) { return matches(p.second, notification, coalesceMask); });
}

QList<Notification> NotificationQueue::pendingNotifications() const
{
    QList<Notification> result;
    for (const auto& p : m_pending)
        result.append(p.second);
    return result;
}

void NotificationQueue::flush(PostingStyle style)
{
    (style == PostWhenIdle ? m_idleScheduled : m_asapScheduled) = false;
    // Take the batch first: an observer may enqueue again, and that goes to the next pass.
    QList<Notification> batch;
    for (auto it = m_pending.begin(); it != m_pending.end();) {
        if (it->first == style) {
            batch.append(it->second);
            it = m_pending.erase(it);
        } else {
            ++it;
        }
    }
    for (const Notification& n : batch)
        m_center.postNotification(n);
}
