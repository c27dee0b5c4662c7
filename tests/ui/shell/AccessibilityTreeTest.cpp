#include "app/model/StudioModel.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"
#include "ui/Theme.h"
#include "ui/UiTestSupport.h"
#include "ui/screens/BusySpinner.h"
#include "ui/screens/RestoreConfirmationSheet.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/QtTranslations.h"
#include "ui/shell/RestoreQuitDialog.h"
#include "ui/shell/StudioRootView.h"
#include "ui/shell/UnsignedFirmwareAlert.h"

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QMetaEnum>
#include <QPainter>
#include <QProgressBar>
#include <QTest>

namespace {

bool isRussian(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(),
                       [](QChar c) { return c.script() == QChar::Script_Cyrillic; });
}

struct Control {
    QAccessible::Role role;
    QString name;
};

// Every control in the tree under `node` that the keyboard can reach, on screen.
void collectFocusable(QAccessibleInterface *node, QList<Control> &found)
{
    if (!node || node->state().invisible)
        return;
    if (node->state().focusable)
        found.append({node->role(), node->text(QAccessible::Name)});
    for (int i = 0; i < node->childCount(); ++i)
        collectFocusable(node->child(i), found);
}

// Fails on a control without a Russian name or a role, or with a name another control has;
// prints what it checked.
void checkControls(const QString &where, QWidget *top, qsizetype atLeast)
{
    QList<Control> controls;
    collectFocusable(QAccessible::queryAccessibleInterface(top), controls);
    QStringList names;
    for (const Control &control : std::as_const(controls)) {
        const QString line =
            where + QStringLiteral(": ") +
            QString::fromLatin1(QMetaEnum::fromType<QAccessible::Role>().valueToKey(control.role)) +
            QStringLiteral(" «") + control.name + QStringLiteral("»");
        qInfo().noquote() << line;
        QVERIFY2(isRussian(control.name), qPrintable(line));
        // A bare client area, or no role at all, says nothing of what the control is.
        QVERIFY2(control.role != QAccessible::NoRole && control.role != QAccessible::Client,
                 qPrintable(line));
        QVERIFY2(!names.contains(control.name), qPrintable(line + QStringLiteral(" (named twice)")));
        names.append(control.name);
    }
    qInfo().noquote() << where << QStringLiteral("— controls checked:") << controls.size();
    QVERIFY(controls.size() >= atLeast);
}

// The focused control as drawn, with the room around it where rings of boxes and fields fall.
// A text field's inside is left out: its caret shows the focus there, not a ring.
QImage focusArea(QWidget &window, QWidget *stop)
{
    const QRect own(stop->mapTo(&window, QPoint()), stop->size());
    const QRect area = own.adjusted(-20, -20, 20, 20) & window.rect();
    QImage image = window.grab(area).toImage();
    if (qobject_cast<QLineEdit *>(stop)) {
        QPainter painter(&image);
        painter.fillRect(own.translated(-area.topLeft()), Qt::black);
    }
    return image;
}

// Whether the stop's ring is drawn: it looks different without the focus.
bool ringIsDrawn(QWidget &window, QWidget *stop)
{
    const QImage focused = focusArea(window, stop);
    stop->clearFocus();
    const QImage unfocused = focusArea(window, stop);
    stop->setFocus(Qt::TabFocusReason);
    return focused != unfocused;
}

// Tab visits every control of the window once per round from `first`; each stop is on screen and
// shows that it has focus.
void walkTabStops(QWidget &window, QWidget *first, const QString &where, qsizetype atLeast)
{
    first->clearFocus();
    first->setFocus(Qt::TabFocusReason);
    QList<QWidget *> seen;
    for (QWidget *stop = QApplication::focusWidget(); stop && !seen.contains(stop);
         stop = QApplication::focusWidget()) {
        seen.append(stop);
        const QString line = where + QStringLiteral(": ") +
                             QString::fromLatin1(stop->metaObject()->className()) + QLatin1Char(' ') +
                             stop->objectName();
        QVERIFY2(stop->isVisible() && stop->isEnabled() && !stop->visibleRegion().isEmpty(),
                 qPrintable(line));
        QVERIFY2(ringIsDrawn(window, stop), qPrintable(line));
        QTest::keyClick(stop, Qt::Key_Tab);
    }
    QVERIFY(seen.size() >= atLeast);
}

} // namespace

// Reads the accessibility tree of every screen and dialog the way a screen reader does, and walks
// every screen with Tab as a keyboard user does.
class AccessibilityTreeTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Theme::applyDarkAppearance(*qApp);
        QVERIFY(QtTranslations::install(*qApp));
        QAccessible::setActive(true);
    }

    void everyScreenNamesItsControlsInRussianAndTabVisitsThem()
    {
        TestPaths paths;
        LocalHttpServer server;
        MainWindow window(servedModel(server, catalogueOf({"Watch3,1"})));
        window.resize(1280, 800);
        QVERIFY(showActive(window));
        StudioModel *model = window.rootView()->model();
        QTRY_COMPARE(model->firmware().size(), 1);
        QTRY_VERIFY(!model->isLoadingCatalog());
        model->select(model->firmware().constFirst());

        for (const NavigationSection section : Navigation::allCases()) {
            model->setNavigation(section);
            checkControls(Navigation::rawValue(section), &window, 7); // the sidebar's six and more
            walkTabStops(window, window.findChild<QWidget *>(QStringLiteral("sidebarRow-0")),
                         Navigation::rawValue(section), 7);
            // The sidebar says which section is selected as a state, not in words.
            for (const NavigationSection other : Navigation::allCases()) {
                QWidget *row =
                    window.findChild<QWidget *>(QStringLiteral("sidebarRow-") + QString::number(int(other)));
                QAccessibleInterface *node = QAccessible::queryAccessibleInterface(row);
                QVERIFY(node->state().selectable);
                QCOMPARE(node->state().selected, other == section);
            }
        }

        // Whatever turns or fills while work goes on is named for what it waits for.
        for (QWidget *indicator : window.findChildren<QWidget *>()) {
            if (!qobject_cast<BusySpinner *>(indicator) && !qobject_cast<QProgressBar *>(indicator))
                continue;
            QAccessibleInterface *node = QAccessible::queryAccessibleInterface(indicator);
            const QString name = node->text(QAccessible::Name);
            qInfo().noquote() << QStringLiteral("Indicator: ProgressBar «") + name + u'»';
            QVERIFY2(isRussian(name), qPrintable(indicator->objectName() + QStringLiteral(": ") + name));
            QCOMPARE(node->role(), QAccessible::ProgressBar);
        }
    }

    void everyDialogNamesItsControlsInRussian()
    {
        TestPaths paths;
        MainWindow window(offlineModel());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        StudioModel *model = window.rootView()->model();
        StudioRootView *root = window.rootView();

        // Nothing listens there: the first load fails, and the overview's banner is an alert.
        QTRY_VERIFY(model->catalogError().has_value());
        QWidget *banner = window.findChild<QWidget *>(QStringLiteral("catalogErrorBanner"));
        QAccessibleInterface *alert = QAccessible::queryAccessibleInterface(banner);
        QCOMPARE(alert->role(), QAccessible::AlertMessage);
        qInfo().noquote() << QStringLiteral("Error banner:") << alert->text(QAccessible::Name);
        QVERIFY2(isRussian(alert->text(QAccessible::Name)), qPrintable(alert->text(QAccessible::Name)));

        model->setShowRestoreConfirmation(true);
        QWidget *sheet = root->restoreSheet();
        QVERIFY(sheet);
        checkControls(QStringLiteral("Подтверждение"), sheet, 3);
        // The field is named by its prompt, not by the word it waits for.
        QAccessibleInterface *field = QAccessible::queryAccessibleInterface(
            sheet->findChild<QWidget *>(QStringLiteral("confirmationPhrase")));
        QCOMPARE(field->text(QAccessible::Name), QStringLiteral("Для запуска введите ПРОШИТЬ"));
        model->setShowRestoreConfirmation(false);

        model->setShowUnsignedWarning(true);
        QVERIFY(root->unsignedAlert());
        checkControls(QStringLiteral("Неподписанная прошивка"), root->unsignedAlert(), 2);
        model->setShowUnsignedWarning(false);

        RestoreQuitDialog quit(&window);
        quit.show();
        checkControls(QStringLiteral("Выход во время восстановления"), &quit, 2);
    }
};

QTEST_MAIN(AccessibilityTreeTest)
#include "AccessibilityTreeTest.moc"
