#pragma once

#include "ui/PaintedButton.h"

#include <QUrl>

// The support chat's address, fixed in the program; an invalid one is a programming error.
const QUrl &supportURL();

// The sidebar's link to the support chat: a tinted card with the handle, opening supportURL
// in the browser when pressed.
class SupportLink final : public PaintedButton {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SupportLink)

public:
    explicit SupportLink(QWidget *parent = nullptr);
    ~SupportLink() override;

    static QString handle();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
