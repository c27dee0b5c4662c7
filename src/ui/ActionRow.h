#pragma once

#include <QColor>
#include <QWidget>

// A quick-action row: a tinted symbol tile, title and subtitle, and a chevron. It has no
// action of its own; wrap it in a PlainButton to make it clickable.
class ActionRow final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ActionRow)

public:
    ActionRow(const QString &symbol, const QColor &color, const QString &title, const QString &subtitle,
              QWidget *parent = nullptr);
    ~ActionRow() override;

    void setSymbol(const QString &symbol);
    void setColor(const QColor &color);
    void setTitle(const QString &title);
    void setSubtitle(const QString &subtitle);
    QString title() const { return m_title; }
    QString subtitle() const { return m_subtitle; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_symbol;
    QColor m_color;
    QString m_title;
    QString m_subtitle;
};
