#pragma once

#include <QObject>
#include <QString>
#include <deque>
#include <functional>

namespace platform {

/// Takes the URLs that the system opens the application with and hands them on, one at a time and
/// in the order in which they came; those that come before there is a receiver wait for it. On the
/// main thread, beside an application object.
class GetURLEvents : public QObject {
public:
    /// False when nothing took the URL.
    using Receiver = std::function<bool(const QString& url)>;

    GetURLEvents();

    /// From now on URLs are handed to the receiver; at once those that wait.
    void deliverTo(Receiver receiver);

    /// Puts one more URL at the end, and hands it on at once unless one is being handled. False
    /// after stop(), and when it was handed on at once and nothing took it.
    bool deliver(const QString& url);

    /// From now on nothing is handed on; what waits is dropped.
    void stop();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool deliverWaiting();

    std::deque<QString> waiting_;
    Receiver receiver_;
    bool delivering_ = false;
    bool stopped_ = false;
};

} // namespace platform
