#pragma once

#include <QWidget>

// A capsule with a coloured dot and whether a watch is connected.
class ConnectionBadge final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectionBadge)

public:
    explicit ConnectionBadge(QWidget *parent = nullptr);
    ~ConnectionBadge() override;

    void setConnected(bool connected);
    bool isConnected() const { return m_connected; }
    QString text() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool m_connected = false;
};
