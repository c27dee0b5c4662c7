#pragma once

#include <QDialog>

class StudioButton;

// Asked when the window is closed or the application quits while a restore tool runs. Keeping
// the application open is the default: it has the focus, and Escape or closing the dialog
// choose it too. accept() means quit anyway.
class RestoreQuitDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreQuitDialog)

public:
    explicit RestoreQuitDialog(QWidget *parent = nullptr);
    ~RestoreQuitDialog() override;

    StudioButton *keepButton() const { return m_keep; }
    StudioButton *quitButton() const { return m_quit; }

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    StudioButton *m_keep;
    StudioButton *m_quit;
};
