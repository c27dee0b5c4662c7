#pragma once

#include <QMainWindow>

class RestoreEndNotice;
class RestoreQuitGuard;
class StudioRootView;
class StudioModel;

// The application's single window: the root view and the menu. No command opens a second
// window.
class MainWindow final : public QMainWindow {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

public:
    // Takes ownership of model; installs the production file chooser on it.
    explicit MainWindow(StudioModel *model, QWidget *parent = nullptr);
    ~MainWindow() override;

    StudioRootView *rootView() const { return m_root; }
    RestoreEndNotice *restoreEndNotice() const { return m_restoreEndNotice; }

    // Takes a restore image opened without the chooser as the chooser's answer; false, with a
    // line in the log, for anything else.
    bool openRestoreImage(const QString &path);
    // Shows the window in front, as a later start of the application asks.
    void comeToFront();

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void buildMenu();
    void showAbout();

    StudioRootView *m_root;
    RestoreQuitGuard *m_quitGuard;
    bool m_followsScreen = false;
    RestoreEndNotice *m_restoreEndNotice;
};
