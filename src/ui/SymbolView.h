#pragma once

#include <QColor>
#include <QWidget>

// One tinted symbol, sized like a glyph of text at the given font size (or in an explicit
// square box), centred in its area. Decorative: it has no accessible name of its own (an SF
// Symbols name read aloud helps nobody); the text beside it names the thing.
class SymbolView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SymbolView)

public:
    SymbolView(const QString &symbol, const QColor &tint, int fontSize, QWidget *parent = nullptr);
    ~SymbolView() override;

    void setSymbol(const QString &symbol);
    void setTint(const QColor &tint);
    void setFontSize(int fontSize);
    // The width of the frame the symbol is centred in (0: the glyph's own width).
    void setFrameWidth(int width);
    QString symbol() const { return m_symbol; }
    QColor tint() const { return m_tint; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_symbol;
    QColor m_tint;
    int m_fontSize;
    int m_frameWidth = 0;
};
