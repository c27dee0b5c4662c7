#include "ui/shell/MainWindow.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corvalin Studio"));

    MainWindow window;
    window.show();
    return QApplication::exec();
}
