#pragma once
// A buffer in front of a notification center, in the platform's manner: a notification enqueued
// now is posted later from the event loop of the queue's thread, and several similar ones waiting
// at the same time are merged into one (the first stays, later ones are dropped). Each thread has
// a default queue in front of the default center; a queue is used only from its own thread.

#include "Platform/Foundation/NotificationCenter.h"

#include <QList>
#include <QPointer>

enum PostingStyle {
    /// Posted when the current pass of the event loop has ended and nothing else is waiting.
    PostWhenIdle = 1,
    /// Posted once the events already waiting have been handled.
    PostASAP = 2,
    /// Coalesced with what waits, then posted at once.
    PostNow = 3,
};

enum NotificationCoalescing {
    NotificationNoCoalescing = 0,
    NotificationCoalescingOnName = 1,
    NotificationCoalescingOnSender = 2,
};

class NotificationQueue {
public:
    explicit NotificationQueue(NotificationCenter& center);
    ~NotificationQueue();
    NotificationQueue(const NotificationQueue&) = delete;
    NotificationQueue& operator=(const NotificationQueue&) = delete;

    /// The calling thread's queue, posting to NotificationCenter::defaultCenter().
    static NotificationQueue& defaultQueue();

    /// Coalesces on name and sender.
    void enqueueNotification(const Notification& notification, PostingStyle style);
    void enqueueNotification(
        const Notification& notification, PostingStyle style, int coalesceMask);
    /// Drops waiting notifications that match on the criteria of the mask (none: nothing).
    void dequeueNotificationsMatching(const Notification& notification, int coalesceMask);

    /// Waiting notifications, oldest first (for diagnostics and tests).
    QList<Notification> pendingNotifications() const;

private:
    class Poster;
    void flush(PostingStyle style);

    NotificationCenter& m_center;
    QList<std::pair<PostingStyle, Notification>> m_pending;
    QPointer<QObject> m_poster;
    bool m_idleScheduled = false;
    bool m_asapScheduled = false;
};
