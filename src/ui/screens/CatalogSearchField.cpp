#include "ui/screens/CatalogSearchField.h"

#include "app/model/StudioModel.h"
#include "ui/PlainButton.h"
#include "ui/SymbolView.h"
#include "ui/Theme.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int horizontalPadding = 14;
constexpr int fieldHeight = 42;
constexpr qreal fieldRadius = 12;
constexpr int textSize = 13;

} // namespace

CatalogSearchField::CatalogSearchField(StudioModel *model, QWidget *parent)
    : QWidget(parent), m_model(model), m_field(new QLineEdit),
      m_clear(new PlainButton(
          new SymbolView(QStringLiteral("xmark.circle.fill"), Theme::textSecondary(), textSize),
          QStringLiteral("Очистить поиск")))
{
    setObjectName(QStringLiteral("catalogSearch"));
    m_field->setObjectName(QStringLiteral("catalogSearchField"));
    m_clear->setObjectName(QStringLiteral("catalogSearchClear"));
    setFixedHeight(fieldHeight);

    m_field->setFrame(false);
    m_field->setFont(Theme::font(textSize));
    m_field->setPlaceholderText(QStringLiteral("Series 3, Watch4,1, 44mm…"));
    QPalette palette = m_field->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    m_field->setPalette(palette);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(horizontalPadding, 0, horizontalPadding, 0);
    row->addWidget(new SymbolView(QStringLiteral("magnifyingglass"), Theme::textSecondary(), textSize));
    row->addWidget(m_field, 1);
    row->addWidget(m_clear);

    connect(m_field, &QLineEdit::textEdited, model, &StudioModel::setSearchText);
    // The clear button disappears with the text, so the typing goes on in the field.
    connect(m_clear, &PlainButton::clicked, this, [this] {
        m_field->setFocus(Qt::OtherFocusReason);
        m_model->setSearchText(QString());
    });
    m_field->setAccessibleName(QStringLiteral("Поиск прошивки"));
    m_field->installEventFilter(this);
    connect(model, &StudioModel::searchTextChanged, this, &CatalogSearchField::refresh);
    refresh();
}

CatalogSearchField::~CatalogSearchField() = default;

void CatalogSearchField::refresh()
{
    // Only a change from elsewhere (the clear button) is written back, so typing keeps the cursor.
    if (m_field->text() != m_model->searchText())
        m_field->setText(m_model->searchText());
    m_clear->setVisible(!m_model->searchText().isEmpty());
}

void CatalogSearchField::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect()), fieldRadius, fieldRadius);
    painter.fillPath(shape, Theme::withOpacity(Theme::white(), Theme::Opacity::searchFieldFill));
    if (m_field->hasFocus()) {
        painter.setPen(QPen(Theme::focusRing(), Theme::Metrics::focusRingWidth));
        QPainterPath ring;
        ring.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), fieldRadius - 1, fieldRadius - 1);
        painter.drawPath(ring);
    }
}

bool CatalogSearchField::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_field && (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut))
        update();
    return QWidget::eventFilter(watched, event);
}
