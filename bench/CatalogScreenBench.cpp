#include "Bench.h"

#include "app/model/StudioModel.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"
#include "ui/Theme.h"
#include "ui/screens/CatalogView.h"

#include <QApplication>
#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QListView>
#include <QScrollBar>
#include <QStandardPaths>
#include <QStringListModel>
#include <QStyledItemDelegate>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <memory>
#include <unistd.h>

namespace {

// The window's detail column, where the catalogue screen is shown.
constexpr QSize screenSize{870, 760};

double threadCpuMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

QString productType(int model)
{
    return QStringLiteral("Watch%1,%2").arg(model / 100 + 1).arg(model % 100 + 1);
}

// One signed release per model, each with its own full image.
QByteArray catalogueOf(int models, const QString &imageBase)
{
    QByteArray json = "[";
    for (int i = 0; i < models; ++i) {
        const QByteArray type = productType(i).toUtf8();
        if (i)
            json += ',';
        json += R"({"osStr":"watchOS","version":"10.)" + QByteArray::number(i % 7) + R"(","build":"B)" +
                QByteArray::number(i) + R"(","released":"2024-01-10","deviceMap":[")" + type +
                R"("],"signed":true,"sources":[{"type":"ipsw","deviceMap":[")" + type +
                R"("],"size":3791368850,"links":[{"url":")" + imageBase.toUtf8() + type +
                R"(_Restore.ipsw"}]}]})";
    }
    return json + "]";
}

// The application's model holding a catalogue of `models` entries, served from 127.0.0.1, with
// every folder of the application in a private temporary tree.
struct LoadedStudio {
    explicit LoadedStudio(int models)
    {
        const QString path = QStringLiteral("/main.json");
        // The images are never fetched; their links need only be https on an allowed host.
        server.setResponse(path, HttpResponse::ok(catalogueOf(models, QStringLiteral("https://127.0.0.1/"))));
        model = std::make_unique<StudioModel>(server.url(path), QStringList{QStringLiteral("127.0.0.1")});
        QCoro::waitFor(model->refreshCatalog());
        if (model->firmware().size() != models)
            qFatal("the generated catalogue loaded %lld of %d models: %s",
                   qlonglong(model->firmware().size()), models,
                   qPrintable(model->catalogError().value_or(QString())));
        // Every fifth image is already downloaded.
        const QDir cache(paths.downloads() + QStringLiteral("/Corvalin Firmware"));
        cache.mkpath(QStringLiteral("."));
        for (int i = 0; i < models; i += 5) {
            QFile image(cache.filePath(model->firmware().at(i).filename));
            if (!image.open(QIODevice::WriteOnly))
                qFatal("cannot write %s", qPrintable(image.fileName()));
        }
    }

    TestPaths paths;
    LocalHttpServer server;
    std::unique_ptr<StudioModel> model;
};

QListView *firmwareList(const QWidget &screen)
{
    return screen.findChild<QListView *>(QStringLiteral("firmwareList"));
}

// CPU time of one scroll step and a full repaint of the list, over many steps down and up.
double scrollStepMilliseconds(QListView *list)
{
    QScrollBar *bar = list->verticalScrollBar();
    const int step = std::max(1, bar->singleStep() * 3); // one wheel notch
    constexpr int steps = 400;
    int direction = 1;
    // Markers for a system-call trace (strace -f -e trace=%file): what lies between them is what
    // the scrolling and painting asked of the file system.
    access("corvalin-bench: scrolling begins", F_OK);
    const double start = threadCpuMilliseconds();
    for (int i = 0; i < steps; ++i) {
        if (bar->value() + step * direction > bar->maximum() || bar->value() + step * direction < 0)
            direction = -direction;
        bar->setValue(bar->value() + step * direction);
        list->viewport()->repaint();
    }
    const double elapsed = threadCpuMilliseconds() - start;
    access("corvalin-bench: scrolling ends", F_OK);
    return elapsed / steps;
}

class FixedHeightDelegate final : public QStyledItemDelegate {
public:
    FixedHeightDelegate(int height, QObject *parent) : QStyledItemDelegate(parent), m_height(height) {}
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        return {QStyledItemDelegate::sizeHint(option, index).width(), m_height};
    }

private:
    int m_height;
};

void showScreen(QWidget *screen)
{
    screen->resize(screenSize);
    screen->show();
    if (!QTest::qWaitForWindowExposed(screen))
        qFatal("the screen was never shown");
}

struct TypingFigures {
    double worstGapMs = 0;
    double slowestKeyMs = 0;
    double slowestKeyCpuMs = 0;
};

// Types a search a key every 100 ms (type, erase it all, type another) while a 2 ms heartbeat
// notes the longest time the event loop went without running.
TypingFigures typeIntoSearch(QLineEdit *field)
{
    QElapsedTimer clock;
    qint64 lastBeat = 0;
    qint64 worstGap = 0;
    QTimer heartbeat;
    heartbeat.setTimerType(Qt::PreciseTimer);
    heartbeat.setInterval(2);
    QObject::connect(&heartbeat, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        worstGap = std::max(worstGap, now - lastBeat);
        lastBeat = now;
    });

    const QString typed = QStringLiteral("watch12,3");
    QList<std::function<void()>> keys;
    for (const QChar letter : typed)
        keys << [field, letter] { QTest::keyClick(field, letter.toLatin1()); };
    for (int i = 0; i < typed.size(); ++i)
        keys << [field] { QTest::keyClick(field, Qt::Key_Backspace); };
    for (const QChar letter : QStringLiteral("series"))
        keys << [field, letter] { QTest::keyClick(field, letter.toLatin1()); };

    // The key's own handling (the filtering) apart from what follows it in the event loop; its
    // CPU time tells a slow filter from a process the busy machine did not run.
    TypingFigures figures;
    clock.start();
    heartbeat.start();
    for (const auto &key : keys) {
        QTimer::singleShot(0, [&] {
            QElapsedTimer handling;
            handling.start();
            const double cpu = threadCpuMilliseconds();
            key();
            figures.slowestKeyCpuMs = std::max(figures.slowestKeyCpuMs, threadCpuMilliseconds() - cpu);
            figures.slowestKeyMs = std::max(figures.slowestKeyMs, double(handling.nsecsElapsed()) / 1e6);
        });
        QTest::qWait(100);
    }
    QTest::qWait(300); // whatever the last key set off
    heartbeat.stop();
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Backspace); // typed away, so the model's search empties too
    figures.worstGapMs = double(worstGap) / 1e6;
    return figures;
}

} // namespace

// A scroll step and repaint of the 40-model catalogue, against a plain list view of the same
// rows and size. Run under `strace -f -e trace=%file` to see that painting never touches the disk.
CORVALIN_BENCHMARK(catalogScrollRepaint)
{
    QStandardPaths::setTestModeEnabled(true);
    Theme::applyDarkAppearance(*qApp);
    LoadedStudio studio(40);
    CatalogView screen(studio.model.get());
    showScreen(&screen);

    QStringList texts;
    for (const WatchFirmware &firmware : studio.model->firmware())
        texts << firmware.productType + u' ' + firmware.deviceName;
    QStringListModel plainRows(texts);
    // The same rows at the same height, painted by the standard delegate.
    QListView plain;
    plain.setModel(&plainRows);
    plain.setUniformItemSizes(true);
    plain.setItemDelegate(new FixedHeightDelegate(firmwareList(screen)->sizeHintForRow(0), &plain));
    plain.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    showScreen(&plain);
    plain.resize(firmwareList(screen)->size());

    QList<double> ratios;
    for (int round = 0; round < 5; ++round) {
        const double reference = scrollStepMilliseconds(&plain);
        const double catalogue = scrollStepMilliseconds(firmwareList(screen));
        ratios << catalogue / reference;
        Bench::report(QStringLiteral("round %1: catalogue / plain list view (%2 / %3 ms)")
                          .arg(round + 1)
                          .arg(catalogue, 0, 'f', 3)
                          .arg(reference, 0, 'f', 3),
                      catalogue / reference, QStringLiteral("× (target ≤ 1.5)"));
    }
    std::sort(ratios.begin(), ratios.end());
    const QString unit = QStringLiteral("× plain list view (target ≤ 1.5)");
    Bench::report(QStringLiteral("scroll step + repaint, min"), ratios.first(), unit);
    Bench::report(QStringLiteral("scroll step + repaint, median"), ratios.at(ratios.size() / 2), unit);
    Bench::report(QStringLiteral("scroll step + repaint, max"), ratios.last(), unit);
}

// Typing into the search field over a catalogue of 40,000 models: the longest time the window's
// event loop went without running, against the 50 ms the eye forgives.
CORVALIN_BENCHMARK(catalogSearchTyping)
{
    QStandardPaths::setTestModeEnabled(true);
    Theme::applyDarkAppearance(*qApp);
    LoadedStudio studio(40000);
    CatalogView screen(studio.model.get());
    showScreen(&screen);
    auto *field = screen.findChild<QLineEdit *>(QStringLiteral("catalogSearchField"));
    field->setFocus();

    QList<double> ratios;
    for (int round = 1; round <= 3; ++round) {
        const TypingFigures figures = typeIntoSearch(field);
        Bench::report(QStringLiteral("round %1: worst event-loop gap (slowest key: %2 ms wall, %3 ms CPU)")
                          .arg(round)
                          .arg(figures.slowestKeyMs, 0, 'f', 2)
                          .arg(figures.slowestKeyCpuMs, 0, 'f', 2),
                      figures.worstGapMs, QStringLiteral("ms"));
        ratios << figures.worstGapMs / 50;
    }
    std::sort(ratios.begin(), ratios.end());
    const QString unit = QStringLiteral("× 50 ms (target ≤ 1)");
    Bench::report(QStringLiteral("worst gap while typing, min"), ratios.first(), unit);
    Bench::report(QStringLiteral("worst gap while typing, median"), ratios.at(1), unit);
    Bench::report(QStringLiteral("worst gap while typing, max"), ratios.last(), unit);
}
