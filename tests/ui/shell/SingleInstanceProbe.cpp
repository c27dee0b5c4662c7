// A stand-in for the application in SingleInstanceTest: the production instance claim without a
// window, a device poll or the network. Prints "first", "handed over" or "unreachable", then,
// while it runs as the first copy, "asked=" and the percent-encoded file of every later start.
#include "ui/shell/SingleInstance.h"

#include <QCoreApplication>
#include <QStandardPaths>

#include <cstdio>

namespace {
void say(const QByteArray &line)
{
    std::fputs((line + '\n').constData(), stdout);
    std::fflush(stdout);
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Corvalin Studio"));
    QStandardPaths::setTestModeEnabled(true);
    const QString file = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    SingleInstance instance(SingleInstance::defaultFolder());
    switch (instance.claim(file)) {
    case SingleInstance::Claim::first: say("first"); break;
    case SingleInstance::Claim::handedOver: say("handed over"); return 0;
    case SingleInstance::Claim::unreachable: say("unreachable"); return 3;
    }
    QObject::connect(&instance, &SingleInstance::activationRequested,
                     [](const QString &asked) { say("asked=" + asked.toUtf8().toPercentEncoding()); });
    return QCoreApplication::exec();
}
