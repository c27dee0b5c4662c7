#pragma once

#include "app/records/NavigationSection.h"

#include <QHash>
#include <QPointer>
#include <QWidget>

class QStackedWidget;
class RestoreConfirmationSheet;
class StudioSidebar;
class StudioModel;
class UnsignedFirmwareAlert;

// The window's content: the sidebar beside the detail column that shows the screen chosen by
// the model's navigation, over the studio backdrop. Owns the application model, starts it when
// first shown, keeps it in step with the connected watch, and presents the unsigned-firmware
// alert and the restore confirmation sheet while their flags in the model are raised.
class StudioRootView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioRootView)

public:
    // Takes ownership of model.
    explicit StudioRootView(StudioModel *model, QWidget *parent = nullptr);
    ~StudioRootView() override;

    // The least size at which every screen is laid out as designed; smaller screens get less,
    // and the pages scroll.
    static QSize minimumContentSize();

    StudioModel *model() const { return m_model; }
    StudioSidebar *sidebar() const { return m_sidebar; }
    QWidget *currentScreen() const;
    // The alert or sheet on screen now, if any.
    UnsignedFirmwareAlert *unsignedAlert() const;
    RestoreConfirmationSheet *restoreSheet() const;

protected:
    void showEvent(QShowEvent *event) override;

private:
    // The section's screen, built now if it never was.
    QWidget *screen(NavigationSection section);
    void showNavigation();
    void followUnsignedWarning();
    void followRestoreConfirmation();

    StudioModel *m_model;
    StudioSidebar *m_sidebar;
    QStackedWidget *m_screens;
    QHash<int, QWidget *> m_built; // by section
    QPointer<UnsignedFirmwareAlert> m_alert;
    QPointer<RestoreConfirmationSheet> m_sheet;
    bool m_started = false;
};
