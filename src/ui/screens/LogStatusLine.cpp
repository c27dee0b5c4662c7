#include "ui/screens/LogStatusLine.h"

#include "restore/RestoreManager.h"
#include "ui/SymbolLabel.h"
#include "ui/Theme.h"
#include "ui/screens/BusySpinner.h"
#include "ui/screens/ScreenLabels.h"

#include <QHBoxLayout>
#include <QLabel>

namespace {

constexpr int runningSpacing = 10;
constexpr int textSize = 12;

} // namespace

LogStatusLine::LogStatusLine(RestoreManager *restore, QWidget *parent)
    : QWidget(parent), m_restore(restore), m_running(new QWidget),
      m_succeeded(new SymbolLabel(QStringLiteral("checkmark.circle.fill"),
                                  QStringLiteral("Восстановление завершено успешно"),
                                  Theme::font(textSize, QFont::DemiBold), Theme::green()))
{
    m_running->setObjectName(QStringLiteral("logRunningLine"));
    m_succeeded->setObjectName(QStringLiteral("logSucceededLine"));

    auto *running = new QHBoxLayout(m_running);
    running->setContentsMargins(0, 0, 0, 0);
    running->setSpacing(runningSpacing);
    auto *spinner = new BusySpinner(BusySpinner::Size::small);
    spinner->setAccessibleName(QStringLiteral("Восстановление выполняется"));
    running->addWidget(spinner);
    running->addWidget(
        ScreenLabels::label(QStringLiteral("Восстановление выполняется — не отключайте кабель"),
                            Theme::font(textSize, QFont::DemiBold), Theme::orange()));
    running->addStretch();

    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(m_running);
    line->addWidget(m_succeeded);
    line->addStretch();

    connect(restore, &RestoreManager::isRestoringChanged, this, &LogStatusLine::refresh);
    connect(restore, &RestoreManager::completedSuccessfullyChanged, this, &LogStatusLine::refresh);
    refresh();
}

LogStatusLine::~LogStatusLine() = default;

void LogStatusLine::refresh()
{
    const bool running = m_restore->isRestoring();
    m_running->setVisible(running);
    m_succeeded->setVisible(!running && m_restore->completedSuccessfully());
}
