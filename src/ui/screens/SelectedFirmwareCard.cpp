#include "ui/screens/SelectedFirmwareCard.h"

#include "app/model/StudioModel.h"
#include "download/DownloadManager.h"
#include "ui/StudioButton.h"
#include "ui/StudioCard.h"
#include "ui/SymbolLabel.h"
#include "ui/Theme.h"
#include "ui/screens/FirmwareText.h"
#include "ui/screens/ScreenLabels.h"
#include "ui/screens/SymbolTile.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLinearGradient>

namespace {

constexpr int rowSpacing = 22;
constexpr int textSpacing = 7;
constexpr int tileSide = 72;
constexpr qreal tileRadius = 18;
constexpr int tileSymbolSize = 29;
constexpr qreal eyebrowTracking = 1.4;

QBrush tileGradient()
{
    QLinearGradient gradient(0, 0, 1, 1);
    gradient.setCoordinateMode(QGradient::ObjectBoundingMode);
    gradient.setColorAt(
        0, Theme::withOpacity(Theme::studioAccentDeep(), Theme::Opacity::selectedFirmwareTileStart));
    gradient.setColorAt(1,
                        Theme::withOpacity(Theme::studioAccent(), Theme::Opacity::selectedFirmwareTileEnd));
    return gradient;
}

SymbolLabel *caution(const QString &symbol, const QString &objectName, const QColor &color)
{
    auto *label = new SymbolLabel(symbol, {}, Theme::font(11, QFont::Medium), color);
    label->setObjectName(objectName);
    label->setWordWrap(true);
    return label;
}

} // namespace

SelectedFirmwareCard::SelectedFirmwareCard(StudioModel *model, QWidget *parent)
    : QWidget(parent), m_model(model),
      m_title(ScreenLabels::label({}, Theme::font(19, QFont::Bold, Theme::FontDesign::rounded),
                                  Theme::textPrimary())),
      m_detail(ScreenLabels::label({}, Theme::font(12), Theme::textSecondary())),
      m_currentNote(caution(QStringLiteral("exclamationmark.triangle.fill"),
                            QStringLiteral("firmwareCurrentNote"), Theme::orange())),
      m_unsignedCaution(caution(QStringLiteral("exclamationmark.shield.fill"),
                                QStringLiteral("firmwareUnsignedCaution"), Theme::red())),
      m_toRestore(new StudioButton(PrimaryButtonStyle{}, QStringLiteral("К восстановлению"),
                                   QStringLiteral("arrow.right"))),
      m_download(new StudioButton(PrimaryButtonStyle{}, QStringLiteral("Скачать"),
                                  QStringLiteral("arrow.down.to.line")))
{
    setObjectName(QStringLiteral("selectedFirmwareCard"));
    m_title->setObjectName(QStringLiteral("firmwareTitle"));
    m_detail->setObjectName(QStringLiteral("firmwareDetail"));
    m_toRestore->setObjectName(QStringLiteral("toRestoreButton"));
    m_download->setObjectName(QStringLiteral("downloadButton"));
    m_unsignedCaution->setText(QStringLiteral("Полный IPSW не подписан — Apple TSS может отказать."));

    auto *tile = new SymbolTile(tileSide, tileRadius, tileSymbolSize);
    tile->setFill(tileGradient());
    tile->setSymbol(QStringLiteral("shippingbox.fill"), Theme::white());

    auto *eyebrow = ScreenLabels::label(
        QStringLiteral("ВЫБРАННАЯ ПРОШИВКА"),
        Theme::font(9, QFont::Bold, Theme::FontDesign::standard, eyebrowTracking), Theme::studioAccent());
    auto *texts = new QVBoxLayout;
    texts->setSpacing(textSpacing);
    texts->addWidget(eyebrow);
    texts->addWidget(m_title);
    texts->addWidget(m_detail);
    texts->addWidget(m_currentNote);
    texts->addWidget(m_unsignedCaution);

    auto *card = new StudioCard;
    auto *row = new QHBoxLayout;
    row->setSpacing(rowSpacing);
    row->addWidget(tile, 0, Qt::AlignVCenter);
    row->addLayout(texts, 1);
    row->addWidget(m_toRestore, 0, Qt::AlignVCenter);
    row->addWidget(m_download, 0, Qt::AlignVCenter);
    card->contentLayout()->addLayout(row);

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(card);

    connect(m_toRestore, &StudioButton::clicked, model,
            [model] { model->setNavigation(NavigationSection::restore); });
    connect(m_download, &StudioButton::clicked, model, &StudioModel::requestDownloadSelected);

    connect(model, &StudioModel::selectedFirmwareChanged, this, &SelectedFirmwareCard::refresh);
    connect(model, &StudioModel::selectedIPSWChanged, this, &SelectedFirmwareCard::refresh);
    connect(model->downloader(), &DownloadManager::isDownloadingChanged, this,
            &SelectedFirmwareCard::refresh);
    refresh();
}

SelectedFirmwareCard::~SelectedFirmwareCard() = default;

void SelectedFirmwareCard::refresh()
{
    const auto &firmware = m_model->selectedFirmware();
    if (!firmware)
        return;
    m_title->setText(FirmwareText::cardTitle(*firmware));
    m_detail->setText(FirmwareText::cardDetail(*firmware));
    const std::optional<QString> note = firmware->currentNote();
    m_currentNote->setText(note.value_or(QString()));
    m_currentNote->setVisible(note.has_value());
    m_unsignedCaution->setVisible(!firmware->isCatalogSigned);

    const bool imageChosen = m_model->selectedIPSW().has_value();
    m_toRestore->setVisible(imageChosen);
    m_download->setVisible(!imageChosen);
    m_download->setEnabled(!m_model->downloader()->isDownloading());
}
