#pragma once

#include <QApplication>

#include <memory>

class MainWindow;

// The application entry: the application object in the studio's dark look with Qt's Russian
// texts, and its single window.
class CorvalinStudioApp final {
public:
    CorvalinStudioApp(int &argc, char **argv);
    ~CorvalinStudioApp();
    CorvalinStudioApp(const CorvalinStudioApp &) = delete;
    CorvalinStudioApp &operator=(const CorvalinStudioApp &) = delete;

    MainWindow *window() const { return m_window.get(); }

    // Shows the window and runs until the application quits; returns its exit code.
    int run();

private:
    QApplication m_application;
    std::unique_ptr<MainWindow> m_window;
};
