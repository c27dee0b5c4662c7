#include "tools/DeviceTable.h"

#include "tools/ProcessRunner.h"
#include "tools/ToolLocator.h"

#include <QDir>

namespace DeviceTable {

QStringList splitLine(const QString &line)
{
    constexpr qsizetype maxSplits = 4;
    QStringList pieces;
    qsizetype start = 0;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line.at(i) != u' ')
            continue;
        const bool appended = i > start;
        if (appended)
            pieces << line.mid(start, i - start);
        start = i + 1;
        if (appended && pieces.size() == maxSplits)
            break;
    }
    if (start < line.size())
        pieces << line.mid(start);
    return pieces;
}

QList<Row> parse(const QString &output)
{
    QList<Row> rows;
    for (const QString &line : output.split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList pieces = splitLine(line);
        if (pieces.size() == 5)
            rows << Row{pieces[0], pieces[1], pieces[2], pieces[3], pieces[4]};
    }
    return rows;
}

QCoro::Task<QString> fetch()
{
    const QString tool = QDir(ToolLocator::toolsRoot()).filePath(QStringLiteral("bin/irecovery"));
    const QStringList arguments{QStringLiteral("--devices")};
    const ProcessResult result = co_await ProcessRunner::run(tool, arguments);
    co_return result.output;
}

} // namespace DeviceTable
