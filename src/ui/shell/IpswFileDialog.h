#pragma once

#include <QFileDialog>

// The chooser for a local full restore image: one existing file whose extension is "ipsw",
// starting in the firmware folder. A name typed into it is held to the same rule as a file
// picked from the list: anything else keeps the dialog open.
class IpswFileDialog final : public QFileDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(IpswFileDialog)

public:
    IpswFileDialog(QWidget *parent, const QString &folder);
    ~IpswFileDialog() override;

    static bool isRestoreImage(const QString &path);

public slots:
    void accept() override;
};
