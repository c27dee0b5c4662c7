#include "ui/shell/CorvalinStudioApp.h"

#include "app/model/StudioModel.h"
#include "ui/Theme.h"
#include "ui/shell/AlreadyRunningMessage.h"
#include "ui/shell/ApplicationSetup.h"
#include "ui/shell/CommandLine.h"
#include "ui/shell/FirstFrame.h"
#include "ui/shell/FreedMemory.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/QtTranslations.h"
#include "ui/shell/SingleInstance.h"

#include <QLoggingCategory>

#include <cstdio>

namespace {
Q_LOGGING_CATEGORY(instanceLog, "corvalin.instance", QtWarningMsg)
} // namespace

CorvalinStudioApp::CorvalinStudioApp(int &argc, char **argv) : m_application(argc, argv)
{
    QApplication::setApplicationName(QStringLiteral("Corvalin Studio"));
    QApplication::setApplicationVersion(QStringLiteral(CORVALIN_VERSION));
    QtTranslations::install(m_application);
    const CommandLine::Request request = CommandLine::read(QApplication::arguments());
    if (request.error) {
        std::fputs((*request.error + u'\n').toLocal8Bit().constData(), stderr);
        m_exitCode = 2;
        return;
    }
    m_file = request.file;

    // Before anything polls the watch or could start a restore.
    m_instance = std::make_unique<SingleInstance>(SingleInstance::defaultFolder());
    switch (m_instance->claim(m_file.value_or(QString()))) {
    case SingleInstance::Claim::first: break;
    case SingleInstance::Claim::handedOver:
        qCInfo(instanceLog) << "Handed over to the copy already running";
        m_exitCode = 0;
        return;
    case SingleInstance::Claim::unreachable:
        Theme::applyDarkAppearance(m_application);
        AlreadyRunningMessage::exec();
        m_exitCode = 1;
        return;
    }

    Theme::applyDarkAppearance(m_application);
    ApplicationSetup::apply(m_application);
    auto *model = new StudioModel;
    // Decoding a catalogue frees far more than the list it yields keeps.
    QObject::connect(model, &StudioModel::isLoadingCatalogChanged, model, [model] {
        if (!model->isLoadingCatalog())
            FreedMemory::returnToSystem();
    });
    m_window = std::make_unique<MainWindow>(model);
    QObject::connect(m_instance.get(), &SingleInstance::activationRequested, m_window.get(),
                     [window = m_window.get()](const QString &file) {
                         qCInfo(instanceLog) << "A later start asked for the window, with" << file;
                         window->comeToFront();
                         if (!file.isEmpty())
                             window->openRestoreImage(file);
                     });
}

CorvalinStudioApp::~CorvalinStudioApp() = default;

int CorvalinStudioApp::run()
{
    if (m_exitCode)
        return *m_exitCode;
    FirstFrame::whenPainted(m_window.get(), [] { ApplicationSetup::completeAfterFirstFrame(); });
    m_window->show();
    if (m_file)
        m_window->openRestoreImage(*m_file);
    return QApplication::exec();
}
