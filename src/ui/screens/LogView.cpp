#include "ui/screens/LogView.h"

#include "restore/RestoreManager.h"
#include "ui/PageHeader.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"
#include "ui/screens/LogBox.h"
#include "ui/screens/LogStatusLine.h"
#include "ui/screens/LogTextView.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// A tool can print thousands of chunks a second; the screen takes them in once per frame.
constexpr int frameMilliseconds = 16;

QString copyLabel()
{
    return QStringLiteral("Копировать");
}

QString copiedLabel()
{
    return QStringLiteral("Скопировано");
}

} // namespace

LogView::LogView(StudioModel *, RestoreManager *restoreManager, QWidget *parent)
    : QWidget(parent), m_restore(restoreManager),
      m_copy(new StudioButton(SecondaryButtonStyle{}, copyLabel(), QStringLiteral("doc.on.doc"))),
      m_status(new LogStatusLine(restoreManager)), m_logUpdate(new QTimer(this)),
      m_copiedShown(new QTimer(this))
{
    setObjectName(QStringLiteral("logView"));
    m_copy->setObjectName(QStringLiteral("copyLogButton"));
    // Wide enough for either label, so the confirmation does not move the header.
    m_copy->setText(copiedLabel());
    const int copiedWidth = m_copy->sizeHint().width();
    m_copy->setText(copyLabel());
    m_copy->setMinimumWidth(std::max(copiedWidth, m_copy->sizeHint().width()));
    m_copiedShown->setSingleShot(true);
    m_copiedShown->setInterval(copiedMilliseconds);
    connect(m_copiedShown, &QTimer::timeout, this, [this] {
        m_copy->setText(copyLabel());
        m_copy->setSymbol(QStringLiteral("doc.on.doc"));
    });
    auto *box = new LogBox(&restoreManager->logText());
    box->setObjectName(QStringLiteral("logBox"));
    m_log = box->text();

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(Theme::Metrics::pageMargins);
    stack->setSpacing(Theme::Metrics::pageSpacing);
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
    m_copy->setText(copiedLabel());
    m_copy->setSymbol(QStringLiteral("checkmark.circle.fill"));
    m_copiedShown->start();
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
