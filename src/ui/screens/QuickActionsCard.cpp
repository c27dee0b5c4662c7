#include "ui/screens/QuickActionsCard.h"

#include "app/model/StudioModel.h"
#include "ui/ActionRow.h"
#include "ui/PlainButton.h"
#include "ui/StudioCard.h"
#include "ui/Theme.h"
#include "ui/screens/ScreenLabels.h"

#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int stackSpacing = 14;

// The button is named for assistive tools by its title, or by `name` where the title alone
// would repeat another control's name.
PlainButton *actionButton(ActionRow *row, const QString &objectName, const QString &name = {})
{
    auto *button = new PlainButton(row, name.isEmpty() ? row->title() : name);
    button->setAccessibleDescription(row->subtitle());
    button->setObjectName(objectName);
    return button;
}

} // namespace

QuickActionsCard::QuickActionsCard(StudioModel *model, QWidget *parent)
    : QWidget(parent), m_model(model),
      m_catalogRow(new ActionRow(QStringLiteral("square.and.arrow.down"), Theme::studioAccent(),
                                 QStringLiteral("Найти прошивку"), {}))
{
    setObjectName(QStringLiteral("quickActions"));
    auto *card = new StudioCard;
    auto *stack = card->contentLayout();
    stack->setSpacing(stackSpacing);
    stack->addWidget(ScreenLabels::label(QStringLiteral("Быстрые действия"), Theme::font(15, QFont::DemiBold),
                                         Theme::textPrimary()));

    auto *catalog = actionButton(m_catalogRow, QStringLiteral("quickActionCatalog"));
    connect(catalog, &PlainButton::clicked, model,
            [model] { model->setNavigation(NavigationSection::catalog); });
    auto *manual =
        actionButton(new ActionRow(QStringLiteral("doc.badge.plus"), Theme::studioRose(),
                                   QStringLiteral("Выбрать IPSW"), QStringLiteral("Локальный полный образ")),
                     QStringLiteral("quickActionManualIPSW"));
    connect(manual, &PlainButton::clicked, model, &StudioModel::chooseManualIPSW);
    auto *restore =
        actionButton(new ActionRow(QStringLiteral("wrench.and.screwdriver.fill"), Theme::orange(),
                                   QStringLiteral("Восстановление"), QStringLiteral("Проверка и прошивка")),
                     QStringLiteral("quickActionRestore"), QStringLiteral("Перейти к восстановлению"));
    connect(restore, &PlainButton::clicked, model,
            [model] { model->setNavigation(NavigationSection::restore); });
    stack->addWidget(catalog);
    stack->addWidget(manual);
    stack->addWidget(restore);

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(card);

    connect(model, &StudioModel::firmwareChanged, this, &QuickActionsCard::refresh);
    refresh();
}

QuickActionsCard::~QuickActionsCard() = default;

void QuickActionsCard::refresh()
{
    m_catalogRow->setSubtitle(QString::number(m_model->firmware().size()) +
                              QStringLiteral(" моделей в каталоге"));
}
