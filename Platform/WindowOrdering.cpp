#include "Platform/WindowOrdering.h"

#include <QScreen>
#include <QVariant>
#include <QWidget>
#include <QWindow>

namespace platform {

namespace {

/// Where a window was, without its frame, that has been taken off the screen.
constexpr const char* lastPosition = "lastPosition";

/// A window manager finds a place of its own for every window that comes up without one.
void returnToPlace(QWidget& window) {
    const QVariant position = window.property(lastPosition);
    if (!position.isValid() || window.isVisible())
        return;
    window.setGeometry(QRect(position.toPoint(), window.size()));
    // Where nothing has changed, the toolkit would not tell the window manager.
    if (window.windowHandle() != nullptr)
        window.windowHandle()->setPosition(position.toPoint());
}

void show(QWidget& window) {
    returnToPlace(window);
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
}

} // namespace

void makeKeyAndOrderFront(QWidget* window) {
    if (window == nullptr)
        return;
    show(*window);
    window->activateWindow();
}

void orderFront(QWidget* window) {
    if (window == nullptr)
        return;
    const bool before = window->testAttribute(Qt::WA_ShowWithoutActivating);
    window->setAttribute(Qt::WA_ShowWithoutActivating);
    show(*window);
    window->setAttribute(Qt::WA_ShowWithoutActivating, before);
}

void orderOut(QWidget* window) {
    if (window == nullptr)
        return;
    if (window->isVisible())
        window->setProperty(lastPosition, window->geometry().topLeft());
    window->hide();
}

void constrainFrameToScreen(QWidget* window) {
    if (window == nullptr)
        return;
    const QRect available = window->screen()->availableGeometry();
    const QRect frame = window->frameGeometry();
    const int left = qMin(frame.left(), available.right() + 1 - frame.width());
    const int top = qMin(frame.top(), available.bottom() + 1 - frame.height());
    const QPoint position(qMax(left, available.left()), qMax(top, available.top()));
    if (position != frame.topLeft())
        window->move(position);
}

} // namespace platform
