#include "app/StudioModel.h"
#include "ui/Theme.h"
#include "ui/shell/ApplicationSetup.h"
#include "ui/shell/MainWindow.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corvalin Studio"));
    QApplication::setApplicationVersion(QStringLiteral(CORVALIN_VERSION));
    Theme::applyDarkAppearance(application);
    ApplicationSetup::apply(application);

    MainWindow window(new StudioModel);
    window.show();
    return QApplication::exec();
}
