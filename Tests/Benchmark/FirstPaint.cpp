// Linked into a program with a window, ends it once a window has been painted for the first time.

#include <QApplication>
#include <QEvent>
#include <QWidget>

namespace {

class EndAtFirstPaint : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* const widget = qobject_cast<QWidget*>(watched);
        if (event->type() == QEvent::Paint && widget != nullptr && widget->isWindow())
            // Once the paint event, and with it the picture, is out.
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        return false;
    }
};

void watchForFirstPaint() {
    qApp->installEventFilter(new EndAtFirstPaint(qApp));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watchForFirstPaint)
