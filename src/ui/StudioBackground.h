#pragma once

#include <QWidget>

// The window backdrop: paints the studio background gradient over its whole area. Children
// are laid on top of it.
class StudioBackground final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioBackground)

public:
    explicit StudioBackground(QWidget *parent = nullptr);
    ~StudioBackground() override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
