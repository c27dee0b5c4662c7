#include "ui/screens/CatalogStateCard.h"

#include "app/model/StudioModel.h"
#include "ui/StudioCard.h"
#include "ui/Theme.h"
#include "ui/screens/BusySpinner.h"
#include "ui/screens/ScreenLabels.h"

#include <QHBoxLayout>
#include <QLabel>

namespace {

constexpr int rowSpacing = 14;
constexpr int minimumRowHeight = 80;

} // namespace

CatalogStateCard::CatalogStateCard(StudioModel *model, QWidget *parent)
    : QWidget(parent), m_model(model),
      m_text(ScreenLabels::label({}, Theme::font(13), Theme::textSecondary()))
{
    setObjectName(QStringLiteral("catalogStateCard"));
    m_text->setObjectName(QStringLiteral("catalogStateText"));
    auto *card = new StudioCard;
    auto *row = new QHBoxLayout;
    row->setSpacing(rowSpacing);
    // The spinner turns in both states, also when the text only invites a choice.
    auto *spinner = new BusySpinner(BusySpinner::Size::regular);
    spinner->setAccessibleName(QStringLiteral("Ожидание каталога"));
    row->addWidget(spinner);
    row->addWidget(m_text, 1);
    auto *rowWidget = new QWidget;
    rowWidget->setLayout(row);
    row->setContentsMargins(0, 0, 0, 0);
    rowWidget->setMinimumHeight(minimumRowHeight);
    card->contentLayout()->addWidget(rowWidget);

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(card);

    connect(model, &StudioModel::isLoadingCatalogChanged, this, &CatalogStateCard::refresh);
    refresh();
}

CatalogStateCard::~CatalogStateCard() = default;

void CatalogStateCard::refresh()
{
    m_text->setText(m_model->isLoadingCatalog() ? QStringLiteral("Получение актуального каталога…")
                                                : QStringLiteral("Выберите прошивку в каталоге"));
}
