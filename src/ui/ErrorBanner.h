#pragma once

#include <QWidget>

class SymbolLabel;

// A red warning strip with a triangle and the error text. Always as wide as its space, with
// the text at the leading edge. Assistive tools hear it as an alert when it appears or its text
// changes.
class ErrorBanner final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ErrorBanner)

public:
    explicit ErrorBanner(const QString &text, QWidget *parent = nullptr);
    ~ErrorBanner() override;

    void setText(const QString &text);
    QString text() const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void announce();

    SymbolLabel *m_label;
};
