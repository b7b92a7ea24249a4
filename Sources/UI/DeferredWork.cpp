#include "DeferredWork.h"

#include <QTimer>

#include <utility>

DeferredWork::DeferredWork(
    QObject* target, QEvent::Type type, std::function<void()> work, int deadlineMs)
    : QObject(target)
    , m_type(type)
    , m_work(std::move(work))
{
    target->installEventFilter(this);
    if (deadlineMs >= 0)
        QTimer::singleShot(deadlineMs, this, &DeferredWork::runOnce);
}

bool DeferredWork::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == m_type) {
        watched->removeEventFilter(this);
        // Queued: the event (a paint, with the window's flush) is finished first.
        QMetaObject::invokeMethod(this, &DeferredWork::runOnce, Qt::QueuedConnection);
    }
    return false;
}

void DeferredWork::runOnce()
{
    if (!m_work)
        return;
    const std::function<void()> work = std::exchange(m_work, nullptr);
    parent()->removeEventFilter(this);
    deleteLater();
    work();
}
