#pragma once

#include <QBrush>
#include <QWidget>

// A filled circle or rounded square with one symbol centred on it.
class SymbolTile final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SymbolTile)

public:
    // radius < 0 draws a circle.
    SymbolTile(int side, qreal radius, int symbolSize, QWidget *parent = nullptr);
    ~SymbolTile() override;

    void setFill(const QBrush &fill);
    void setSymbol(const QString &symbol, const QColor &tint);
    void setSymbolSize(int symbolSize);
    QString symbol() const { return m_symbol; }

    QSize sizeHint() const override { return {m_side, m_side}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_side;
    qreal m_radius;
    int m_symbolSize;
    QBrush m_fill;
    QString m_symbol;
    QColor m_tint;
};
