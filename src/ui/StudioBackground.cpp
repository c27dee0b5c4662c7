#include "ui/StudioBackground.h"

#include "ui/Theme.h"

#include <QPainter>

StudioBackground::StudioBackground(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

StudioBackground::~StudioBackground() = default;

void StudioBackground::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QBrush(Theme::studioBackground()));
}
