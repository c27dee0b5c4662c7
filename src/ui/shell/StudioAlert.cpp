#include "ui/shell/StudioAlert.h"

#include "ui/FocusRing.h"
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
constexpr int buttonSpacing = 10;
constexpr int warningSymbolSize = 28;

} // namespace

StudioAlert::StudioAlert(const QString &title, const QString &message, const QString &safeAnswer,
                         const QString &destructiveAnswer, QWidget *parent)
    : QDialog(parent), m_title(title), m_message(message),
      m_safe(new StudioButton(SecondaryButtonStyle{}, safeAnswer)),
      m_destructive(new StudioButton(DangerButtonStyle{}, destructiveAnswer))
{
    setWindowTitle(title);
    setWindowFlag(Qt::Sheet);
    setWindowModality(Qt::WindowModal);
    Theme::applyDarkAppearance(this);
    setAccessibleName(title);
    setAccessibleDescription(message);

    auto *texts = new QVBoxLayout;
    texts->setSpacing(titleSpacing);
    texts->addWidget(ScreenLabels::label(title, Theme::font(20, QFont::Bold, Theme::FontDesign::rounded),
                                         Theme::textPrimary()));
    QLabel *messageLabel = ScreenLabels::wrappingLabel(message, Theme::font(12), Theme::textSecondary());
    texts->addWidget(messageLabel);

    auto *titleRow = new QHBoxLayout;
    titleRow->setSpacing(titleRowSpacing);
    titleRow->addWidget(
        new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), Theme::orange(), warningSymbolSize),
        0, Qt::AlignTop);
    titleRow->addLayout(texts, 1);

    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(buttonSpacing);
    buttons->addStretch();
    buttons->addWidget(m_safe);
    buttons->addWidget(m_destructive);

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(padding, padding, padding, padding);
    stack->setSpacing(stackSpacing);
    stack->addLayout(titleRow);
    stack->addLayout(buttons);

    setFixedWidth(dialogWidth);
    setFixedHeight(stack->hasHeightForWidth() ? stack->totalHeightForWidth(dialogWidth)
                                              : sizeHint().height());

    setTabOrder(m_safe, m_destructive);
    connect(m_safe, &StudioButton::clicked, this, &QDialog::reject);
    connect(m_destructive, &StudioButton::clicked, this, &QDialog::accept);
}

StudioAlert::~StudioAlert() = default;

void StudioAlert::keyPressEvent(QKeyEvent *event)
{
    // Return activates the focused button (the button's own handling); with the focus elsewhere
    // it must never choose the destructive answer.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        reject();
        return;
    }
    QDialog::keyPressEvent(event);
}

void StudioAlert::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QBrush(Theme::studioBackground()));
}

void StudioAlert::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // The ring shows at once which answer Return gives.
    FocusRing::focusWithRing(m_safe);
}
