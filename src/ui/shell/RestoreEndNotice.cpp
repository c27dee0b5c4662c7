#include "ui/shell/RestoreEndNotice.h"

#include "restore/RestoreManager.h"
#include "ui/shell/DesktopNotification.h"

#include <QApplication>
#include <QWidget>

RestoreEndNotice::RestoreEndNotice(RestoreManager *restore, QWidget *window)
    : QObject(window), m_restore(restore), m_window(window)
{
    connect(restore, &RestoreManager::isRestoringChanged, this, &RestoreEndNotice::restoringChanged);
}

RestoreEndNotice::~RestoreEndNotice() = default;

void RestoreEndNotice::setNotifier(Notifier notifier)
{
    m_notifier = std::move(notifier);
}

void RestoreEndNotice::restoringChanged()
{
    // The flag is set on every assignment, also to the value it has: only a fall counts.
    const bool restoring = m_restore->isRestoring();
    const bool ended = m_wasRestoring && !restoring;
    m_wasRestoring = restoring;
    if (!ended)
        return;
    // The flag falls before the outcome is recorded: look once the ending has run its course.
    QMetaObject::invokeMethod(this, &RestoreEndNotice::announce, Qt::QueuedConnection);
}

void RestoreEndNotice::announce()
{
    if (m_window->isActiveWindow())
        return;
    QApplication::alert(m_window);
    const bool succeeded = m_restore->completedSuccessfully();
    const QString summary =
        succeeded ? QStringLiteral("Восстановление завершено") : QStringLiteral("Восстановление не удалось");
    const QString body = succeeded
                             ? QStringLiteral("Часы восстановлены успешно.")
                             : m_restore->lastError().value_or(QStringLiteral("Восстановление прервано."));
    if (m_notifier)
        m_notifier(summary, body);
    else
        DesktopNotification::show(summary, body);
}
