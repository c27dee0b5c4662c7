#pragma once

#include <QColor>
#include <QFont>
#include <QWidget>

class QLabel;
class SymbolView;

// A label made of a symbol followed by text, both in one font and tint (the symbol's tint
// can differ). An empty symbol shows the text alone.
class SymbolLabel : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SymbolLabel)

public:
    SymbolLabel(const QString &symbol, const QString &text, const QFont &font, const QColor &color,
                QWidget *parent = nullptr);
    ~SymbolLabel() override;

    void setSymbol(const QString &symbol);
    void setText(const QString &text);
    void setColor(const QColor &color);
    void setSymbolColor(const QColor &color);
    void setTextColor(const QColor &color);
    void setSpacing(int spacing);
    void setWordWrap(bool wrap);
    void setTextSelectable(bool selectable);

    QString symbol() const;
    QString text() const;
    QColor textColor() const { return m_textColor; }

private:
    SymbolView *m_symbol;
    QLabel *m_text;
    QColor m_textColor;
};
