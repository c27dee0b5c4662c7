#include "Bench.h"

#include <QApplication>
#include <QTextStream>

namespace Bench {

std::vector<std::pair<QString, Function>> &registry()
{
    static std::vector<std::pair<QString, Function>> benchmarks;
    return benchmarks;
}

void report(const QString &name, double value, const QString &unit)
{
    QTextStream(stdout) << name << ": " << QString::number(value, 'f', 2) << ' ' << unit << Qt::endl;
}

} // namespace Bench

int main(int argc, char *argv[])
{
    // Screen benchmarks need widgets; without a display they draw offscreen.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const QStringList only = application.arguments().mid(1);
    for (const auto &[name, function] : Bench::registry()) {
        if (only.isEmpty() || only.contains(name)) {
            QTextStream(stdout) << "== " << name << Qt::endl;
            function();
        }
    }
    return 0;
}
