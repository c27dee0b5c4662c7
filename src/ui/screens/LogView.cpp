#include "ui/screens/LogView.h"

#include "restore/RestoreManager.h"
#include "ui/PageHeader.h"
#include "ui/StudioButton.h"
#include "ui/screens/LogBox.h"
#include "ui/screens/LogStatusLine.h"
#include "ui/screens/LogTextView.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int pagePadding = 28;
constexpr int pageSpacing = 20;
// A tool can print thousands of chunks a second; the screen takes them in once per frame.
constexpr int frameMilliseconds = 16;

} // namespace

LogView::LogView(StudioModel *, RestoreManager *restoreManager, QWidget *parent)
    : QWidget(parent), m_restore(restoreManager),
      m_copy(new StudioButton(SecondaryButtonStyle{}, QStringLiteral("Копировать"),
                              QStringLiteral("doc.on.doc"))),
      m_status(new LogStatusLine(restoreManager)), m_logUpdate(new QTimer(this))
{
    setObjectName(QStringLiteral("logView"));
    m_copy->setObjectName(QStringLiteral("copyLogButton"));
    auto *box = new LogBox(&restoreManager->logText());
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
    m_logUpdate->setInterval(frameMilliseconds);
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
    m_log->catchUp();
}
