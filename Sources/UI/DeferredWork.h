#pragma once
// Work that the window's first paint should not wait for, run once something tells that it is
// needed: the first event of one type on a widget (the pointer entering, the first paint), or a
// deadline, whichever comes first.

#include <QEvent>
#include <QObject>

#include <functional>

class DeferredWork : public QObject {
public:
    /// Runs `work` once, soon after `target` first receives an event of type `type` (after that
    /// event has been handled) or when `deadlineMs` has passed, if given (>= 0). Owned by
    /// `target`: nothing runs once it is gone.
    DeferredWork(
        QObject* target, QEvent::Type type, std::function<void()> work, int deadlineMs = -1);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void runOnce();

    QEvent::Type m_type;
    std::function<void()> m_work;
};
