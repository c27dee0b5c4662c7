#include "ScreenStudio.h"

#include "restore/RestoreManager.h"
#include "ui/StudioButton.h"
#include "ui/screens/LogTextView.h"
#include "ui/screens/LogView.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTest>

namespace {

struct Log : Screen<LogView> {
    explicit Log(StudioModel *model) : Screen(model, model->restoreManager()) { view.show(); }
    LogTextView *text() const { return part<LogTextView>("logText"); }
};

} // namespace

class LogViewTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    // The status line of a run in progress wins over an earlier success; while it runs, the log
    // follows its growing end, is copied whole and is read whole by assistive tools.
    void runningLineThenAGrowingLogThatIsCopiedAndRead()
    {
        ScreenStudio studio;
        Log log(studio.model());
        QVERIFY(!log.shows("logRunningLine"));
        QVERIFY(!log.shows("logSucceededLine"));
        studio.attachRecoveryWatch();
        studio.chooseImage(QStringLiteral("watchOS_10.ipsw"));

        studio.installRestoreTool(false);
        studio.startRestore();
        QTRY_VERIFY(studio.model()->restoreManager()->completedSuccessfully());
        QVERIFY(log.shows("logSucceededLine"));
        ScreenStudio::render(&log.view, QStringLiteral("log-succeeded"));

        studio.installRestoreTool(true);
        studio.startRestore();
        QVERIFY(log.shows("logRunningLine"));
        QVERIFY(!log.shows("logSucceededLine"));
        QTRY_VERIFY(log.text()->text().endsWith(QStringLiteral("Sending RestoreFirmware\n")));
        ScreenStudio::render(&log.view, QStringLiteral("log-running"));

        RestoreManager *restore = studio.model()->restoreManager();
        for (int line = 0; line < 300; ++line)
            restore->appendLog(QStringLiteral("line %1").arg(line));
        QTRY_COMPARE(log.text()->text(), restore->logText());
        QScrollBar *scroll = log.text()->verticalScrollBar();
        QVERIFY(scroll->maximum() > 0);
        QCOMPARE(scroll->value(), scroll->maximum());

        // Scrolled up by the user, the next line brings the end back into sight.
        scroll->setValue(0);
        restore->appendLog(QStringLiteral("newest"));
        QTRY_COMPARE(scroll->value(), scroll->maximum());

        // A line far wider than the box wraps into rows instead of being cut.
        restore->appendLog(QString(2000, u'ж'));
        restore->appendLog(QStringLiteral("last"));
        QTRY_COMPARE(log.text()->text(), restore->logText());

        scroll->setValue(0);
        QTest::mouseDClick(log.text()->viewport(), Qt::LeftButton, {}, QPoint(5, 2));
        QCOMPARE(log.text()->selectedText(), QStringLiteral("Corvalin Studio готов к работе."));
        QTest::keySequence(log.text(), QKeySequence::SelectAll);
        QTest::keySequence(log.text(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), restore->logText());

        // A screen reader reads the whole log, and the selection, through the text interface.
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(log.text());
        QVERIFY(accessible && accessible->textInterface());
        QCOMPARE(accessible->role(), QAccessible::EditableText);
        QVERIFY(accessible->state().readOnly && accessible->state().multiLine);
        QAccessibleTextInterface *text = accessible->textInterface();
        QCOMPARE(text->characterCount(), restore->logText().size());
        QCOMPARE(text->text(0, text->characterCount()), restore->logText());
        int start = -1;
        int end = -1;
        text->selection(0, &start, &end);
        QCOMPARE(std::pair(start, end), std::pair(0, int(restore->logText().size())));
        QCOMPARE(text->textAtOffset(text->characterCount() - 2, QAccessible::LineBoundary, &start, &end),
                 QStringLiteral("last\n"));
        text->setSelection(0, 0, 8);
        QCOMPARE(log.text()->selectedText(), QStringLiteral("Corvalin"));

        QGuiApplication::clipboard()->setText(QStringLiteral("something else"));
        restore->appendLog(QStringLiteral("Проверка watchOS_10.ipsw…"));
        auto *copy = log.part<StudioButton>("copyLogButton");
        QTest::mouseClick(copy, Qt::LeftButton);
        QCOMPARE(QGuiApplication::clipboard()->text(), restore->logText());
        QVERIFY(QGuiApplication::clipboard()->text().endsWith(QStringLiteral("…\n")));
        // The button confirms the copy for a moment, then offers it again.
        QCOMPARE(copy->text(), QStringLiteral("Скопировано"));
        QTRY_COMPARE_WITH_TIMEOUT(copy->text(), QStringLiteral("Копировать"),
                                  LogView::copiedMilliseconds * 3);
    }
};

QTEST_MAIN(LogViewTest)
#include "LogViewTest.moc"
