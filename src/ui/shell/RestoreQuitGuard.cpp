#include "ui/shell/RestoreQuitGuard.h"

#include "restore/RestoreManager.h"
#include "ui/shell/RestoreQuitDialog.h"
#include "ui/shell/TerminationSignals.h"

#include <QCoreApplication>
#include <QTimer>
#include <QWidget>

RestoreQuitGuard::RestoreQuitGuard(RestoreManager *restore, QWidget *window)
    : QObject(window), m_restore(restore), m_window(window)
{
    TerminationSignals::exitEventLoopOnSignal();
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] {
        if (m_restore)
            m_restore->stopBeforeExit(m_stopBound);
    });
}

RestoreQuitGuard::~RestoreQuitGuard() = default;

bool RestoreQuitGuard::allowsClose()
{
    if (!m_restore || !m_restore->isRestoring())
        return true;
    if (m_stopping || m_dialog)
        return false;

    // Asked without a nested event loop, so a quit request is simply turned down meanwhile.
    m_dialog = new RestoreQuitDialog(m_window);
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_dialog, &QDialog::accepted, this, &RestoreQuitGuard::quitAnyway);
    m_dialog->open();
    return false;
}

void RestoreQuitGuard::quitAnyway()
{
    if (!m_restore || !m_restore->isRestoring()) {
        closeWindowWhenStopped();
        return;
    }
    m_stopping = true;
    connect(m_restore, &RestoreManager::isRestoringChanged, this, &RestoreQuitGuard::closeWindowWhenStopped);
    auto *deadline = new QTimer(this);
    deadline->setSingleShot(true);
    connect(deadline, &QTimer::timeout, this, [this] {
        if (m_restore)
            m_restore->forceEnd();
        closeWindowWhenStopped();
    });
    deadline->start(m_stopBound);
    m_restore->cancelRestore();
}

void RestoreQuitGuard::closeWindowWhenStopped()
{
    if (m_restore && m_restore->isRestoring())
        return;
    // Queued: this may run inside the restore manager's exit handling.
    QTimer::singleShot(0, m_window, [window = m_window] {
        if (window)
            window->close();
    });
}
