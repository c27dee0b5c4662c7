#pragma once

#include <QMainWindow>

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

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void buildMenu();
    void showAbout();

    StudioRootView *m_root;
    RestoreQuitGuard *m_quitGuard;
    bool m_followsScreen = false;
};
