#include "ui/screens/CatalogView.h"

#include "app/model/StudioModel.h"
#include "ui/PageHeader.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"
#include "ui/screens/BusySpinner.h"
#include "ui/screens/CatalogSearchField.h"
#include "ui/screens/FirmwareListModel.h"
#include "ui/screens/FirmwareRow.h"
#include "ui/screens/ScreenLabels.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QVBoxLayout>

namespace {

constexpr int loadingSpacing = 10;

QWidget *loadingIndicator()
{
    auto *indicator = new QWidget;
    auto *stack = new QVBoxLayout(indicator);
    stack->setSpacing(loadingSpacing);
    stack->addStretch();
    auto *spinner = new BusySpinner(BusySpinner::Size::regular);
    spinner->setAccessibleName(QStringLiteral("Получение каталога"));
    stack->addWidget(spinner, 0, Qt::AlignHCenter);
    stack->addWidget(
        ScreenLabels::label(QStringLiteral("Получение каталога…"), Theme::font(13), Theme::textSecondary()),
        0, Qt::AlignHCenter);
    stack->addStretch();
    return indicator;
}

} // namespace

CatalogView::CatalogView(StudioModel *model, QWidget *parent)
    : QWidget(parent), m_model(model),
      m_refresh(new StudioButton(SecondaryButtonStyle{}, QStringLiteral("Обновить"),
                                 QStringLiteral("arrow.clockwise"))),
      m_loading(loadingIndicator()), m_rows(new FirmwareListModel(model, this)), m_list(new QListView)
{
    setObjectName(QStringLiteral("catalogView"));
    m_refresh->setObjectName(QStringLiteral("catalogRefreshButton"));
    m_loading->setObjectName(QStringLiteral("catalogLoading"));
    m_list->setObjectName(QStringLiteral("firmwareList"));

    // Rows are painted by the delegate as they scroll into view; the view keeps no selection of
    // its own, the model's selection is what the rows show.
    m_list->setModel(m_rows);
    m_list->setItemDelegate(new FirmwareRowDelegate(m_rows, m_list));
    // The keyboard moves the current row with the arrows and picks it with Return or Space;
    // the current row shows a focus ring while the list has keyboard focus.
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setFocusPolicy(Qt::StrongFocus);
    m_list->setAccessibleName(QStringLiteral("Прошивки"));
    m_list->installEventFilter(this);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setUniformItemSizes(true);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setMouseTracking(true);
    m_list->viewport()->setAutoFillBackground(false);
    m_list->setAutoFillBackground(false);
    // An empty list would be a Tab stop that shows nothing.
    const auto followRows = [this] {
        m_list->setFocusPolicy(m_rows->rowCount() > 0 ? Qt::StrongFocus : Qt::NoFocus);
    };
    connect(m_rows, &QAbstractItemModel::modelReset, this, followRows);
    connect(m_rows, &QAbstractItemModel::rowsInserted, this, followRows);
    connect(m_rows, &QAbstractItemModel::rowsRemoved, this, followRows);
    followRows();
    connect(m_list, &QListView::clicked, model,
            [this](const QModelIndex &index) { m_model->select(m_rows->firmwareAt(index.row())); });

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(Theme::Metrics::pageMargins);
    stack->setSpacing(Theme::Metrics::pageSpacing);
    stack->addWidget(new PageHeader(
        QStringLiteral("AppleDB · CDN Apple"), QStringLiteral("Каталог прошивок"),
        QStringLiteral("Полные Restore.ipsw с проверкой модели и контрольной суммы."), m_refresh));
    stack->addWidget(new CatalogSearchField(model));
    stack->addWidget(m_loading, 1);
    stack->addWidget(m_list, 1);

    // The refresh runs on by itself; the loading flag keeps the button disabled meanwhile.
    connect(m_refresh, &StudioButton::clicked, model, [model] { model->refreshCatalog(); });
    connect(model, &StudioModel::isLoadingCatalogChanged, this, &CatalogView::refresh);
    connect(model, &StudioModel::firmwareChanged, this, &CatalogView::refresh);
    refresh();
}

CatalogView::~CatalogView() = default;

bool CatalogView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_list && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        const QModelIndex current = m_list->currentIndex();
        if ((key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space) && current.isValid()) {
            m_model->select(m_rows->firmwareAt(current.row()));
            return true;
        }
    }
    // Tabbing in starts at the selected firmware.
    if (watched == m_list && event->type() == QEvent::FocusIn &&
        static_cast<QFocusEvent *>(event)->reason() != Qt::MouseFocusReason)
        m_list->setCurrentIndex(selectedOrFirstRow());
    return QWidget::eventFilter(watched, event);
}

void CatalogView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    const QModelIndex row = selectedOrFirstRow();
    if (row.isValid())
        m_list->scrollTo(row, QAbstractItemView::PositionAtCenter);
}

QModelIndex CatalogView::selectedOrFirstRow() const
{
    for (int row = 0; row < m_rows->rowCount(); ++row) {
        if (m_rows->isSelected(row))
            return m_rows->index(row);
    }
    return m_rows->rowCount() > 0 ? m_rows->index(0) : QModelIndex();
}

void CatalogView::refresh()
{
    const bool loading = m_model->isLoadingCatalog();
    m_refresh->setEnabled(!loading);
    const bool showIndicator = loading && m_model->firmware().isEmpty();
    m_loading->setVisible(showIndicator);
    m_list->setVisible(!showIndicator);
}
