#pragma once

#include <QPointer>
#include <QWidget>

class QHBoxLayout;
class QLabel;

// The top of every screen: eyebrow (upper-cased at display time), title and subtitle, with an
// optional action widget at the trailing end.
class PageHeader final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PageHeader)

public:
    PageHeader(const QString &eyebrow, const QString &title, const QString &subtitle,
               QWidget *action = nullptr, QWidget *parent = nullptr);
    ~PageHeader() override;

    void setEyebrow(const QString &eyebrow);
    void setTitle(const QString &title);
    void setSubtitle(const QString &subtitle);
    // Takes ownership; replaces (and deletes) any previous action. nullptr removes it.
    void setAction(QWidget *action);
    QWidget *action() const { return m_action; }

private:
    QHBoxLayout *m_row;
    QLabel *m_eyebrow;
    QLabel *m_title;
    QLabel *m_subtitle;
    QPointer<QWidget> m_action;
};
