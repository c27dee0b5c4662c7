#pragma once

#include <QObject>
#include <QString>

#include <functional>

class RestoreManager;
class QWidget;

// A restore takes tens of minutes and the technician is often elsewhere: when one ends, either
// way, while the window is not the active one, the window asks for attention and the desktop
// shows a notification naming the outcome.
class RestoreEndNotice final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreEndNotice)

public:
    using Notifier = std::function<void(const QString &summary, const QString &body)>;

    RestoreEndNotice(RestoreManager *restore, QWidget *window);
    ~RestoreEndNotice() override;

    // Tests observe the notifications here; an empty function restores the desktop's.
    void setNotifier(Notifier notifier);

private:
    void restoringChanged();
    void announce();

    RestoreManager *m_restore;
    QWidget *m_window;
    Notifier m_notifier;
    bool m_wasRestoring = false;
};
