// What any window costs: an empty one, until it is painted.

#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QWidget window;
    window.resize(460, 310);
    window.show();
    return QApplication::exec();
}
