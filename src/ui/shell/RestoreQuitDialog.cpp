#include "ui/shell/RestoreQuitDialog.h"

#include "ui/StudioButton.h"
#include "ui/SymbolView.h"
#include "ui/Theme.h"
#include "ui/screens/ScreenLabels.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr int dialogWidth = 480;
constexpr int padding = 26;
constexpr int stackSpacing = 22;
constexpr int titleRowSpacing = 14;
constexpr int titleSpacing = 6;
constexpr int warningSymbolSize = 28;

} // namespace

RestoreQuitDialog::RestoreQuitDialog(QWidget *parent)
    : QDialog(parent),
      m_keep(new StudioButton(SecondaryButtonStyle{}, QStringLiteral("Продолжить восстановление"))),
      m_quit(new StudioButton(DangerButtonStyle{}, QStringLiteral("Остановить и выйти")))
{
    setObjectName(QStringLiteral("restoreQuitDialog"));
    setWindowTitle(QStringLiteral("Восстановление ещё идёт"));
    setWindowFlag(Qt::Sheet);
    setWindowModality(Qt::WindowModal);
    Theme::applyDarkAppearance(this);
    m_keep->setObjectName(QStringLiteral("keepRestoringButton"));
    m_quit->setObjectName(QStringLiteral("stopAndQuitButton"));

    auto *texts = new QVBoxLayout;
    texts->setSpacing(titleSpacing);
    texts->addWidget(ScreenLabels::label(QStringLiteral("Восстановление ещё идёт"),
                                         Theme::font(20, QFont::Bold, Theme::FontDesign::rounded),
                                         Theme::textPrimary()));
    auto *message = ScreenLabels::label(
        QStringLiteral("Если выйти сейчас, процесс восстановления будет остановлен, и часам может "
                       "понадобиться новое восстановление."),
        Theme::font(12), Theme::textSecondary());
    message->setWordWrap(true);
    texts->addWidget(message);
    setAccessibleDescription(message->text());

    auto *titleRow = new QHBoxLayout;
    titleRow->setSpacing(titleRowSpacing);
    titleRow->addWidget(
        new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), Theme::orange(), warningSymbolSize),
        0, Qt::AlignTop);
    titleRow->addLayout(texts, 1);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_quit);
    buttons->addStretch();
    buttons->addWidget(m_keep);

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(padding, padding, padding, padding);
    stack->setSpacing(stackSpacing);
    stack->addLayout(titleRow);
    stack->addLayout(buttons);

    setFixedWidth(dialogWidth);
    setFixedHeight(stack->hasHeightForWidth() ? stack->totalHeightForWidth(dialogWidth)
                                              : sizeHint().height());

    setTabOrder(m_keep, m_quit);
    connect(m_keep, &StudioButton::clicked, this, &QDialog::reject);
    connect(m_quit, &StudioButton::clicked, this, &QDialog::accept);
}

RestoreQuitDialog::~RestoreQuitDialog() = default;

void RestoreQuitDialog::keyPressEvent(QKeyEvent *event)
{
    // Return activates the focused button (StudioButton's own handling); with the focus
    // elsewhere it must not quit, so it keeps the application open.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        reject();
        return;
    }
    QDialog::keyPressEvent(event);
}

void RestoreQuitDialog::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QBrush(Theme::studioBackground()));
}

void RestoreQuitDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    m_keep->setFocus();
}
