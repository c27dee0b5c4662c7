#include "RestoreProgressOutput.h"

namespace Bench {

QByteArray restoreProgressOutput()
{
    QByteArray output;
    output.reserve(progressLines * 60);
    for (int i = 0; i < progressLines; ++i) {
        const QByteArray percent =
            QByteArray::number(i * 100.0 / progressLines, 'f', 1).rightJustified(5, ' ');
        const QByteArray line = "[" + QByteArray::number(i).rightJustified(6, '0') +
                                "] Sending filesystem: " + percent + "% complete";
        output += line.leftJustified(59, '.') + '\n';
    }
    return output;
}

} // namespace Bench
