#pragma once

#include <QWidget>

class QLabel;
class StudioButton;
class StudioModel;
class SymbolLabel;

// The selected firmware in a card: its identity, its cautions and the one next step
// (download it, or go on to the restore once an image is chosen). Shows the model's
// selection; the overview shows the card only while there is one.
class SelectedFirmwareCard final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SelectedFirmwareCard)

public:
    explicit SelectedFirmwareCard(StudioModel *model, QWidget *parent = nullptr);
    ~SelectedFirmwareCard() override;

private:
    void refresh();

    StudioModel *m_model;
    QLabel *m_title;
    QLabel *m_detail;
    SymbolLabel *m_currentNote;
    SymbolLabel *m_unsignedCaution;
    StudioButton *m_toRestore;
    StudioButton *m_download;
};
