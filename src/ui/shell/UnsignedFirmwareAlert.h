#pragma once

#include <QMessageBox>

// The question asked before downloading a firmware that the catalogue does not mark as
// signed: cancel, or download anyway.
class UnsignedFirmwareAlert final : public QMessageBox {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UnsignedFirmwareAlert)

public:
    explicit UnsignedFirmwareAlert(QWidget *parent = nullptr);
    ~UnsignedFirmwareAlert() override;

    QAbstractButton *cancelButton() const { return m_cancel; }
    QAbstractButton *downloadAnywayButton() const { return m_downloadAnyway; }

signals:
    // Exactly one of these, when either button closes the alert.
    void cancelled();
    void downloadConfirmed();

private:
    QAbstractButton *m_cancel;
    QAbstractButton *m_downloadAnyway;
};
