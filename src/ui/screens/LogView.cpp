#include "ui/screens/LogView.h"

#include "restore/RestoreManager.h"
#include "ui/PageHeader.h"
#include "ui/StudioButton.h"
#include "ui/screens/LogBox.h"
#include "ui/screens/LogStatusLine.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int pagePadding = 28;
constexpr int pageSpacing = 20;

} // namespace

LogView::LogView(StudioModel *, RestoreManager *restoreManager, QWidget *parent)
    : QWidget(parent), m_restore(restoreManager),
      m_copy(new StudioButton(StudioButtonStyle::secondary, QStringLiteral("Копировать"),
                              QStringLiteral("doc.on.doc"))),
      m_status(new LogStatusLine(restoreManager)), m_logUpdate(new QTimer(this))
{
    setObjectName(QStringLiteral("logView"));
    m_copy->setObjectName(QStringLiteral("copyLogButton"));
    auto *box = new LogBox;
    box->setObjectName(QStringLiteral("logBox"));
    m_log = box->text();

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(pagePadding, pagePadding, pagePadding, pagePadding);
    stack->setSpacing(pageSpacing);
    stack->addWidget(new PageHeader(
        QStringLiteral("Диагностика"), QStringLiteral("Журнал процесса"),
        QStringLiteral("Вывод проверки, загрузки и восстановления в реальном времени."), m_copy));
    stack->addWidget(box, 1);
    stack->addWidget(m_status);

    m_logUpdate->setSingleShot(true);
    m_logUpdate->setInterval(0);
    connect(m_logUpdate, &QTimer::timeout, this, &LogView::showNewLogText);
    connect(m_copy, &StudioButton::clicked, this, &LogView::copyLog);
    connect(restoreManager, &RestoreManager::logTextChanged, this, &LogView::scheduleLogUpdate);
    showNewLogText();
}

LogView::~LogView() = default;

void LogView::copyLog()
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(m_restore->logText());
}

void LogView::scheduleLogUpdate()
{
    if (!m_logUpdate->isActive())
        m_logUpdate->start();
}

void LogView::showNewLogText()
{
    const QString &log = m_restore->logText();
    if (log.size() == m_shownLength)
        return;
    QTextCursor end(m_log->document());
    end.movePosition(QTextCursor::End);
    if (log.size() < m_shownLength) {
        // The log never shrinks while the process lives; start over if it ever does.
        m_log->setPlainText(log);
    } else {
        end.insertText(log.mid(m_shownLength));
    }
    m_shownLength = log.size();
    QScrollBar *scroll = m_log->verticalScrollBar();
    scroll->setValue(scroll->maximum());
}
