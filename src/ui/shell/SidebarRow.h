#pragma once

#include "app/records/NavigationSection.h"

#include "ui/PaintedButton.h"

// One section of the sidebar: a plain button with the section's symbol and title, drawn in
// white on a soft highlight while it is the selected section.
class SidebarRow final : public PaintedButton {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SidebarRow)

public:
    explicit SidebarRow(NavigationSection section, QWidget *parent = nullptr);
    ~SidebarRow() override;

    NavigationSection section() const { return m_section; }
    bool isSelected() const { return m_selected; }
    void setSelected(bool selected);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    NavigationSection m_section;
    bool m_selected = false;
};
