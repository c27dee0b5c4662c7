#pragma once

#include "ui/shell/RestoreQuitDialog.h"

#include <QObject>
#include <QPointer>

#include <chrono>

class RestoreManager;
class QWidget;

// Keeps the application from exiting under a running restore tool. Closing the window (which
// is also how a quit request reaches it) first asks; if the user quits anyway, the tool is
// interrupted as the stop button does, the window stays open showing the log until the tool
// has ended or the stop bound has passed (then it is killed), and only then closes. Any other way
// out of the event loop is caught when the application is about to quit: the tool is stopped
// the same way there, blocking. So the tool never outlives the application unwatched.
class RestoreQuitGuard final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreQuitGuard)

public:
    // Long enough for the restore tool to leave the watch at a safe point, short enough that
    // quitting stays an answer.
    static constexpr std::chrono::milliseconds defaultStopBound{15000};

    RestoreQuitGuard(RestoreManager *restore, QWidget *window);
    ~RestoreQuitGuard() override;

    // For the window's close event: true when it may close now. Otherwise the question is shown
    // (once) and the window is closed again when the answer and the tool allow it.
    bool allowsClose();

    void setStopBound(std::chrono::milliseconds bound) { m_stopBound = bound; }

    // The question while it is shown.
    RestoreQuitDialog *dialog() const { return m_dialog; }

private:
    void quitAnyway();
    void closeWindowWhenStopped();

    QPointer<RestoreManager> m_restore;
    QPointer<QWidget> m_window;
    QPointer<RestoreQuitDialog> m_dialog;
    std::chrono::milliseconds m_stopBound = defaultStopBound;
    bool m_stopping = false;
};
