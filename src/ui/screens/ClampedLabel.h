#pragma once

#include <QColor>
#include <QFont>
#include <QWidget>

// Text wrapped anywhere it must (file names and paths have few spaces) and cut off with an
// ellipsis after a fixed number of lines.
class ClampedLabel final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ClampedLabel)

public:
    ClampedLabel(int maximumLines, const QFont &font, const QColor &color, QWidget *parent = nullptr);
    ~ClampedLabel() override;

    void setText(const QString &text);
    QString text() const { return m_text; }
    // The lines as drawn at the current width, the last one elided if the text goes on.
    QStringList visibleLines() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QStringList linesFor(int width) const;

    int m_maximumLines;
    QColor m_color;
    QString m_text;
};
