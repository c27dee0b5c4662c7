#pragma once

#include "app/records/NavigationSection.h"

#include <QList>
#include <QWidget>

#include <optional>

class QMenuBar;
class SidebarRow;

// The sidebar column: brand, the section list and the support footer. Its only state is the
// selection, bound both ways to the model's navigation by the root view.
class StudioSidebar final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioSidebar)

public:
    explicit StudioSidebar(QWidget *parent = nullptr);
    ~StudioSidebar() override;

    std::optional<NavigationSection> selection() const { return m_selection; }
    // Shows the highlight only; emits nothing.
    void setSelection(std::optional<NavigationSection> section);
    SidebarRow *row(NavigationSection section) const;
    // Lays a window's menu bar at the trailing end of the brand row, where it costs the window no
    // height of its own. The sidebar takes ownership.
    void holdMenuBar(QMenuBar *menuBar);

signals:
    // The user pressed a section's row.
    void sectionActivated(NavigationSection section);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void placeMenuBar();

    QWidget *makeBrandHeader();
    QWidget *makeSectionCaption();

    std::optional<NavigationSection> m_selection;
    QList<SidebarRow *> m_rows;
    QMenuBar *m_menuBar = nullptr;
};
