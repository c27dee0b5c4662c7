#pragma once

#include <QAbstractButton>

enum class StudioButtonStyle { primary, secondary, danger };

// A painted push button in one of the three studio styles, with a label and an optional
// leading symbol. The style reads only the pressed state: a disabled button keeps its
// colours and just stops reacting. Focus is drawn as a ring; Space and Return activate it.
class StudioButton final : public QAbstractButton {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioButton)

public:
    StudioButton(StudioButtonStyle style, const QString &text, const QString &symbol = {},
                 QWidget *parent = nullptr);
    ~StudioButton() override;

    StudioButtonStyle buttonStyle() const { return m_style; }
    void setButtonStyle(StudioButtonStyle style);
    QString symbol() const { return m_symbol; }
    void setSymbol(const QString &symbol);

    // What the style draws right now, derived from the pressed state.
    struct Look {
        QColor fill;   // the flat fill, or the gradient's leading colour (primary)
        qreal opacity; // opacity the background is drawn at
        qreal scale;   // scale of the whole button about its centre
    };
    Look look() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    StudioButtonStyle m_style;
    QString m_symbol;
};
