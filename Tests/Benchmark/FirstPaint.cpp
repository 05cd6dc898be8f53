// Linked into a program with a window, ends it as soon as a window has been painted for the first
// time and the picture is with the display; nothing is tidied up, since that is not part of it.

#include <QApplication>
#include <QEvent>
#include <QWidget>
#include <QWindow>
#include <cstdlib>
#include <utility>

namespace {

class EndAtFirstPaint : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            painted_ = true;
        // The display shows the window for the first time; what is painted then goes out with it.
        if (event->type() != QEvent::Expose || qobject_cast<QWindow*>(watched) == nullptr ||
            std::exchange(handling_, true))
            return false;
        QCoreApplication::sendEvent(watched, event);
        handling_ = false;
        if (painted_)
            std::_Exit(EXIT_SUCCESS);
        return true;
    }

private:
    bool painted_ = false;
    bool handling_ = false;
};

void watchForFirstPaint() {
    qApp->installEventFilter(new EndAtFirstPaint(qApp));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watchForFirstPaint)
