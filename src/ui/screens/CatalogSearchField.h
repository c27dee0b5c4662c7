#pragma once

#include <QWidget>

class PlainButton;
class QLineEdit;
class StudioModel;

// The catalogue's search row: a magnifying glass, a plain field bound to the model's search
// text, and a clear button while there is text. The row is outlined while the field has the
// focus, however it got it, as a text field shows it.
class CatalogSearchField final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CatalogSearchField)

public:
    explicit CatalogSearchField(StudioModel *model, QWidget *parent = nullptr);
    ~CatalogSearchField() override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void refresh();

    StudioModel *m_model;
    QLineEdit *m_field;
    PlainButton *m_clear;
};
