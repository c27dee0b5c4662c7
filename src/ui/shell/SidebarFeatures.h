#pragma once

#include <QWidget>

// The sidebar's footer note of what the studio does not need: no sign-in, Apple's CDN only.
class SidebarFeatures final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SidebarFeatures)

public:
    explicit SidebarFeatures(QWidget *parent = nullptr);
    ~SidebarFeatures() override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
