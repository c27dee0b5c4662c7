#include "ui/screens/RestoreConfirmationSheet.h"

#include "app/model/StudioModel.h"
#include "device/DeviceMonitor.h"
#include "restore/RestoreManager.h"
#include "ui/StudioButton.h"
#include "ui/SymbolView.h"
#include "ui/Theme.h"
#include "ui/screens/ScreenLabels.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPointer>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int sheetWidth = 500;
constexpr int padding = 26;
constexpr int stackSpacing = 20;
constexpr int titleRowSpacing = 14;
constexpr int titleSpacing = 4;
constexpr int promptSpacing = 7;
constexpr int fieldTextInset = 6;
constexpr int warningSymbolSize = 28;

} // namespace

RestoreConfirmationSheet::RestoreConfirmationSheet(StudioModel *model, DeviceMonitor *monitor,
                                                   RestoreManager *restoreManager, QWidget *parent)
    : QDialog(parent), m_model(model), m_monitor(monitor), m_restore(restoreManager), m_phrase(new QLineEdit),
      m_begin(new StudioButton(DangerButtonStyle{}, QStringLiteral("Начать восстановление")))
{
    setObjectName(QStringLiteral("restoreConfirmationSheet"));
    setWindowTitle(QStringLiteral("Подтверждение восстановления"));
    setWindowFlag(Qt::Sheet);
    setWindowModality(Qt::WindowModal);
    Theme::applyDarkAppearance(this);
    m_phrase->setObjectName(QStringLiteral("confirmationPhrase"));
    m_begin->setObjectName(QStringLiteral("beginRestoreButton"));

    auto *texts = new QVBoxLayout;
    texts->setSpacing(titleSpacing);
    texts->addWidget(ScreenLabels::label(QStringLiteral("Подтверждение восстановления"),
                                         Theme::font(20, QFont::Bold, Theme::FontDesign::rounded),
                                         Theme::textPrimary()));
    auto *warning = ScreenLabels::wrappingLabel(
        QStringLiteral("Все данные на часах будут удалены без возможности отмены."), Theme::font(12),
        Theme::textSecondary());
    texts->addWidget(warning);
    auto *titleRow = new QHBoxLayout;
    titleRow->setSpacing(titleRowSpacing);
    titleRow->addWidget(
        new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), Theme::orange(), warningSymbolSize),
        0, Qt::AlignVCenter);
    titleRow->addLayout(texts, 1);

    auto *divider = new QFrame;
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    QPalette dividerPalette = divider->palette();
    dividerPalette.setColor(QPalette::WindowText, Theme::textTertiary());
    divider->setPalette(dividerPalette);

    m_phrase->setPlaceholderText(confirmationWord());
    m_phrase->setFont(Theme::font(13));
    // The plain field's frame sits almost on the first letter; give the typed word room.
    m_phrase->setTextMargins(fieldTextInset, fieldTextInset / 2, fieldTextInset, fieldTextInset / 2);
    auto *prompt = new QVBoxLayout;
    prompt->setSpacing(promptSpacing);
    QLabel *promptLabel = ScreenLabels::label(QStringLiteral("Для запуска введите ПРОШИТЬ"),
                                              Theme::font(12, QFont::DemiBold), Theme::textPrimary());
    // The field is named by its prompt, not by its placeholder.
    promptLabel->setBuddy(m_phrase);
    m_phrase->setAccessibleName(promptLabel->text());
    prompt->addWidget(promptLabel);
    prompt->addWidget(m_phrase);

    auto *cancel = new StudioButton(SecondaryButtonStyle{}, QStringLiteral("Отменить"));
    cancel->setObjectName(QStringLiteral("cancelRestoreButton"));
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(cancel);
    buttons->addStretch();
    buttons->addWidget(m_begin);

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(padding, padding, padding, padding);
    stack->setSpacing(stackSpacing);
    stack->addLayout(titleRow);
    stack->addWidget(divider);
    stack->addLayout(prompt);
    stack->addLayout(buttons);

    setFixedWidth(sheetWidth);
    setFixedHeight(stack->hasHeightForWidth() ? stack->totalHeightForWidth(sheetWidth) : sizeHint().height());

    // Plain equality on every keystroke: no trimming, no case folding.
    m_begin->setEnabled(false);
    connect(m_phrase, &QLineEdit::textChanged, this,
            [this](const QString &phrase) { m_begin->setEnabled(phrase == confirmationWord()); });
    connect(cancel, &StudioButton::clicked, this, &QDialog::reject);
    connect(m_begin, &StudioButton::clicked, this, &RestoreConfirmationSheet::beginRestore);
}

RestoreConfirmationSheet::~RestoreConfirmationSheet() = default;

QString RestoreConfirmationSheet::confirmationWord()
{
    return QStringLiteral("ПРОШИТЬ");
}

void RestoreConfirmationSheet::beginRestore()
{
    // The watch is read now; the image when the restore task runs.
    const std::optional<ConnectedWatch> watch = m_monitor->connectedWatch();
    if (!watch)
        return;
    const QPointer<StudioModel> model = m_model;
    const QPointer<RestoreManager> restore = m_restore;
    accept();
    // Whoever presented the sheet may delete it on dismissal: only the copies above are used now.
    model->setNavigation(NavigationSection::logs);
    QTimer::singleShot(0, restore, [model, restore, watch = *watch] {
        if (model && restore)
            restore->startRestore(model->selectedIPSW(), watch);
    });
}

void RestoreConfirmationSheet::keyPressEvent(QKeyEvent *event)
{
    // Committing the field must not trigger a button: only the start button starts.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        return;
    }
    QDialog::keyPressEvent(event);
}

void RestoreConfirmationSheet::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QBrush(Theme::studioBackground()));
}

void RestoreConfirmationSheet::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // Every presentation starts with an empty field.
    if (!event->spontaneous()) {
        m_phrase->clear();
        m_phrase->setFocus();
    }
}
