#include "GetURLEvents.h"

#include <QCoreApplication>
#include <QFileOpenEvent>
#include <QUrl>
#include <utility>

namespace platform {

GetURLEvents::GetURLEvents() {
    qApp->installEventFilter(this);
}

void GetURLEvents::deliverTo(Receiver receiver) {
    receiver_ = std::move(receiver);
    deliverWaiting();
}

bool GetURLEvents::deliver(const QString& url) {
    if (stopped_)
        return false;
    waiting_.push_back(url);
    return deliverWaiting();
}

void GetURLEvents::stop() {
    stopped_ = true;
    waiting_.clear();
}

bool GetURLEvents::deliverWaiting() {
    // What a handler's own event loop brings waits until the handler has returned.
    if (!receiver_ || delivering_)
        return true;
    bool taken = true;
    delivering_ = true;
    while (!waiting_.empty()) {
        const QString url = std::move(waiting_.front());
        waiting_.pop_front();
        taken = receiver_(url);
    }
    delivering_ = false;
    return taken;
}

bool GetURLEvents::eventFilter(QObject* watched, QEvent* event) {
    if (watched != qApp || event->type() != QEvent::FileOpen)
        return QObject::eventFilter(watched, event);
    const QUrl url = static_cast<QFileOpenEvent*>(event)->url();
    deliver(QString::fromLatin1(url.toEncoded()));
    return true;
}

} // namespace platform
