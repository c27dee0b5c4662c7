#pragma once

#include "app/model/StudioFixture.h"

#include <QLabel>
#include <QString>
#include <QTest>
#include <QWidget>

// The application's model able to put the screens into each state a user meets: a loaded
// catalogue, a watch on the bus, a download under way, a restore validating, running or finished.
class ScreenStudio : public StudioFixture {
public:
    ScreenStudio();

    // Serves a small catalogue: Watch3,1 signed, Watch5,9 unsigned, Watch6,1 unsigned with a
    // newer build signed only as an over-the-air update.
    void loadCatalog();
    const WatchFirmware &firmware(const QString &productType) const;

    // Starts downloading Watch3,1, whose image stalls after 42.6 % of its bytes.
    void startStalledDownload();

    // Renders a screen over the window backdrop at scale 1 and 2 into the test output folder, as
    // render/screens/<name>@1x.png and @2x.png, for people to look at.
    static void render(QWidget *screen, const QString &name);
};

// The window's detail column, where the screens are shown.
inline constexpr QSize detailSize{870, 760};

// A named part of a screen; a missing one ends the test, as every later check would be meaningless.
template <typename T = QWidget> T *part(const QWidget &owner, const char *name)
{
    auto *found = owner.findChild<T *>(QString::fromLatin1(name));
    if (!found)
        qFatal("no %s in %s", name, owner.metaObject()->className());
    return found;
}

inline bool shows(const QWidget &owner, const char *name)
{
    return part(owner, name)->isVisibleTo(&owner);
}

// A screen at the detail column's size, with its named parts at hand.
template <typename View> struct Screen {
    template <typename... Arguments> explicit Screen(Arguments... arguments) : view(arguments...)
    {
        view.resize(detailSize);
    }
    template <typename T = QWidget> T *part(const char *name) const { return ::part<T>(view, name); }
    bool shows(const char *name) const { return ::shows(view, name); }
    QString text(const char *name) const { return part<QLabel>(name)->text(); }
    void click(const char *name) const { QTest::mouseClick(part(name), Qt::LeftButton); }

    View view;
};
