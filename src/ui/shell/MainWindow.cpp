#include "ui/shell/MainWindow.h"

MainWindow::MainWindow(QWidget *parent) : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("Corvalin Studio"));
    setMinimumSize(1120, 720);
}

MainWindow::~MainWindow() = default;
