#pragma once

#include <QWidget>

class PlainButton;
class QLineEdit;
class StudioModel;

// The catalogue's search row: a magnifying glass, a plain field bound to the model's search
// text, and a clear button while there is text.
class CatalogSearchField final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CatalogSearchField)

public:
    explicit CatalogSearchField(StudioModel *model, QWidget *parent = nullptr);
    ~CatalogSearchField() override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void refresh();

    StudioModel *m_model;
    QLineEdit *m_field;
    PlainButton *m_clear;
};
