#pragma once

#include <QWidget>

class QVBoxLayout;

// A container on the translucent material with a faint outline. Put content into
// contentLayout(); it is padded by 20 on every side. The card adds no spacing around itself.
class StudioCard final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioCard)

public:
    explicit StudioCard(QWidget *parent = nullptr);
    ~StudioCard() override;

    QVBoxLayout *contentLayout() const { return m_content; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QVBoxLayout *m_content;
};
