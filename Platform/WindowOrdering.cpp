#include "Platform/WindowOrdering.h"

#include <QWidget>

namespace platform {

namespace {

void show(QWidget& window) {
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
    if (window != nullptr)
        window->hide();
}

} // namespace platform
