#pragma once

#include <QApplication>

#include <memory>
#include <optional>

class MainWindow;
class SingleInstance;

// The application entry: the application object in the studio's dark look with Qt's Russian
// texts, and its single window. A start while another copy runs creates no window: it hands its
// file to that copy, which comes to the front, and ends.
class CorvalinStudioApp final {
public:
    CorvalinStudioApp(int &argc, char **argv);
    ~CorvalinStudioApp();
    CorvalinStudioApp(const CorvalinStudioApp &) = delete;
    CorvalinStudioApp &operator=(const CorvalinStudioApp &) = delete;

    // Absent in a start that ends at once.
    MainWindow *window() const { return m_window.get(); }

    // Shows the window and runs until the application quits; returns its exit code.
    int run();

private:
    QApplication m_application;
    std::unique_ptr<SingleInstance> m_instance;
    std::unique_ptr<MainWindow> m_window;
    std::optional<QString> m_file;
    std::optional<int> m_exitCode;
};
