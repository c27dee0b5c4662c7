#pragma once

#include "app/model/StudioModel.h"
#include "app/records/ConnectedWatch.h"
#include "support/LocalHttpServer.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <QWidget>

// What the widget tests share: the watch the fake restore tools run for, a model that never
// waits on the network, a model with a small catalogue served, and renders for people to look at.

inline const ConnectedWatch kisWatch{QStringLiteral("Watch6,1"),
                                     QStringLiteral("n157sap"),
                                     QStringLiteral("Apple Watch"),
                                     QStringLiteral("DFU via Debug USB (KIS)"),
                                     QStringLiteral("0x1A2B3C4D5E"),
                                     QString(),
                                     WatchTransport::kis};

// Nothing listens at its catalogue address: the first load fails at once.
inline StudioModel *offlineModel()
{
    return new StudioModel(QUrl(QStringLiteral("http://127.0.0.1:9/ios/watchOS/main.json")),
                           {QStringLiteral("127.0.0.1")});
}

// A model whose catalogue `server` serves.
inline StudioModel *servedModel(LocalHttpServer &server, const QByteArray &catalogue)
{
    server.setResponse(QStringLiteral("/main.json"), HttpResponse::ok(catalogue));
    return new StudioModel(server.url(QStringLiteral("/main.json")), {QStringLiteral("127.0.0.1")});
}

// An AppleDB document with one watchOS 10.2 restore image per product type, signed unless listed.
inline QByteArray catalogueOf(const QStringList &productTypes, const QStringList &unsignedTypes = {})
{
    QStringList records;
    for (const QString &type : productTypes)
        records << QString::fromLatin1(R"({"version":"10.2","build":"21S364","deviceMap":["%1"],"signed":%2,)"
                                       R"("sources":[{"type":"ipsw","deviceMap":["%1"],"size":3870000000,)"
                                       R"("links":[{"url":"https://127.0.0.1/%1.ipsw"}]}]})")
                       .arg(type, unsignedTypes.contains(type) ? "false" : "true");
    return ('[' + records.join(u',') + ']').toUtf8();
}

// Shows the window and waits until it is the active one.
inline bool showActive(QWidget &window)
{
    window.show();
    QApplication::setActiveWindow(&window);
    return QTest::qWaitForWindowActive(&window);
}

// The widget as its window draws it at the device pixel ratio, over `underlay`. A child is drawn by its
// parent, which applies its graphics effect (the dimming of a disabled control), as on screen.
inline QImage drawn(QWidget *widget, int ratio = 1, const QBrush &underlay = Qt::black,
                    QWidget::RenderFlags flags = QWidget::DrawWindowBackground | QWidget::DrawChildren)
{
    QImage image(widget->size() * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    QPainter painter(&image);
    painter.fillRect(QRect(QPoint(), widget->size()), underlay);
    if (widget->isWindow())
        widget->render(&painter, {}, {}, flags);
    else
        widget->parentWidget()->render(&painter, {}, widget->geometry(), QWidget::DrawChildren);
    return image;
}

// Draws the widget (a window not yet on show is shown first) at device pixel ratios 1 and 2, to
// render/<name>@1x.png and @2x.png of the test output folder.
inline void renderAt1xAnd2x(QWidget *widget, const QString &name, const QBrush &underlay = Qt::black,
                            QWidget::RenderFlags flags = QWidget::DrawWindowBackground |
                                                         QWidget::DrawChildren)
{
    const QString base =
        QDir(qEnvironmentVariable("CORVALIN_TEST_OUTPUT", QDir::tempPath())).filePath("render");
    const QString stem = QDir(base).filePath(name);
    QVERIFY(QDir().mkpath(QFileInfo(stem).path()));
    widget->ensurePolished();
    if (widget->isWindow() && !widget->isVisible()) {
        widget->show();
        QVERIFY(QTest::qWaitForWindowExposed(widget));
    }
    for (const int ratio : {1, 2})
        QVERIFY2(
            drawn(widget, ratio, underlay, flags).save(QStringLiteral("%1@%2x.png").arg(stem).arg(ratio)),
            qPrintable(stem));
}
