#include "ui/shell/CorvalinStudioApp.h"

#include "app/StudioModel.h"
#include "ui/Theme.h"
#include "ui/shell/ApplicationSetup.h"
#include "ui/shell/FirstFrame.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/QtTranslations.h"

CorvalinStudioApp::CorvalinStudioApp(int &argc, char **argv) : m_application(argc, argv)
{
    QApplication::setApplicationName(QStringLiteral("Corvalin Studio"));
    QApplication::setApplicationVersion(QStringLiteral(CORVALIN_VERSION));
    QtTranslations::install(m_application);
    Theme::applyDarkAppearance(m_application);
    ApplicationSetup::apply(m_application);
    m_window = std::make_unique<MainWindow>(new StudioModel);
}

CorvalinStudioApp::~CorvalinStudioApp() = default;

int CorvalinStudioApp::run()
{
    FirstFrame::whenPainted(m_window.get(), [] { ApplicationSetup::completeAfterFirstFrame(); });
    m_window->show();
    return QApplication::exec();
}
