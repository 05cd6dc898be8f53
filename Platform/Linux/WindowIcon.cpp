#include "WindowIcon.h"

#include <QApplication>
#include <QEvent>
#include <QIcon>
#include <QTimer>
#include <array>

namespace platform {

namespace {

/// Not all sizes that the theme has: all the pixels of each go to the X server.
constexpr std::array sizes{16, 32, 48, 64};

void setWindowIcon() {
    const QIcon themed = QIcon::fromTheme(QGuiApplication::desktopFileName());
    if (themed.isNull())
        return;
    QIcon icon;
    for (const int size : sizes)
        icon.addPixmap(themed.pixmap(QSize(size, size), 1.0));
    QApplication::setWindowIcon(icon);
}

class FirstPaint : public QObject {
public:
    explicit FirstPaint(QObject* application) : QObject(application) {
        application->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            parent()->removeEventFilter(this);
            QTimer::singleShot(0, parent(), &setWindowIcon);
            deleteLater();
        }
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

void setWindowIconAfterFirstPaint() {
    if (QGuiApplication::platformName() == "xcb")
        new FirstPaint(qApp);
}

} // namespace platform
