#include "Bench.h"
#include "RestoreProgressOutput.h"

#include "app/model/StudioModel.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"
#include "ui/Theme.h"
#include "ui/screens/LogTextView.h"
#include "ui/screens/LogView.h"

#include <QAccessible>
#include <QApplication>
#include <QCoroTask>
#include <QEventLoop>
#include <QTimer>

#include <memory>

namespace {

// The longest time the event loop went without turning, sampled by a 1 ms timer.
class StallMeter {
public:
    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(1);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            m_longest = std::max(m_longest, m_sinceLastTick.nsecsElapsed());
            m_sinceLastTick.restart();
        });
        m_sinceLastTick.start();
        m_timer.start();
    }
    double longestMilliseconds() const { return double(m_longest) / 1e6; }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceLastTick;
    qint64 m_longest = 0;
};

struct Run {
    double totalMilliseconds;
    double longestStallMilliseconds;
};

// From launch of a flooding restore tool to its handled exit and, with the log screen shown,
// until the screen holds the whole log.
Run restoreWithFloodingTool(bool withLogScreen)
{
    TestPaths paths;
    FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printing(Bench::restoreProgressOutput()));
    // A KIS watch without an image launches straight away, without the image check.
    const ConnectedWatch watch{QStringLiteral("Watch7,1"),     QStringLiteral("n207sap"),
                               QStringLiteral("Apple Watch"),  QStringLiteral("DFU via Debug USB (KIS)"),
                               QStringLiteral("0x1A2B3C4D5E"), QString()};
    StudioModel model;
    RestoreManager *manager = model.restoreManager();
    std::unique_ptr<LogView> screen;
    if (withLogScreen) {
        screen = std::make_unique<LogView>(&model, manager);
        screen->resize(870, 720);
        screen->show();
        QCoreApplication::processEvents();
    }
    QEventLoop loop;
    QObject::connect(manager, &RestoreManager::isRestoringChanged, &loop, [&] {
        if (!manager->isRestoring())
            loop.quit();
    });

    StallMeter stalls;
    QElapsedTimer timer;
    timer.start();
    QCoro::waitFor(manager->startRestore(std::nullopt, watch));
    if (manager->isRestoring())
        loop.exec();
    if (screen) {
        const auto *text = screen->findChild<LogTextView *>(QStringLiteral("logText"));
        while (text->length() < manager->logText().size())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return {double(timer.nsecsElapsed()) / 1e6, stalls.longestMilliseconds()};
}

} // namespace

// The log screen must keep up with a tool that prints 200,000 lines without freezing the window.
CORVALIN_BENCHMARK(logScreenFollowsFloodingRestore)
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        Bench::report(QStringLiteral("skipped: needs a QApplication"), 0, QString());
        return;
    }
    Theme::applyDarkAppearance(*qApp);
    const Run headless = restoreWithFloodingTool(false);
    const Run shown = restoreWithFloodingTool(true);
    Bench::report(QStringLiteral("headless: launch to handled exit"), headless.totalMilliseconds,
                  QStringLiteral("ms"));
    Bench::report(QStringLiteral("headless: longest event-loop stall"), headless.longestStallMilliseconds,
                  QStringLiteral("ms"));
    Bench::report(QStringLiteral("log screen shown: launch to whole log on screen"), shown.totalMilliseconds,
                  QStringLiteral("ms"));
    Bench::report(QStringLiteral("log screen shown: longest event-loop stall"),
                  shown.longestStallMilliseconds, QStringLiteral("ms"));
    Bench::report(QStringLiteral("shown / headless"), shown.totalMilliseconds / headless.totalMilliseconds,
                  QStringLiteral("x"));

    // With a screen reader listening, each frame's new text is announced as well.
    QAccessible::setActive(true);
    const Run read = restoreWithFloodingTool(true);
    QAccessible::setActive(false);
    Bench::report(QStringLiteral("screen reader on: launch to whole log on screen"), read.totalMilliseconds,
                  QStringLiteral("ms"));
    Bench::report(QStringLiteral("screen reader on: longest event-loop stall"), read.longestStallMilliseconds,
                  QStringLiteral("ms"));
}
