#pragma once

#include <QWidget>

class SymbolView;
class QLabel;

// One line of a check list: a green check, or an orange triangle when it is a warning, then
// the text.
class CheckLine final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CheckLine)

public:
    CheckLine(const QString &text, bool warning, QWidget *parent = nullptr);
    ~CheckLine() override;

    void setText(const QString &text);
    void setWarning(bool warning);
    QString text() const;
    bool isWarning() const { return m_warning; }
    QString symbol() const;

private:
    SymbolView *m_icon;
    QLabel *m_text;
    bool m_warning = false;
};
