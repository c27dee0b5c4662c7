#include "restore/IpswInfo.h"

#include <QRegularExpression>

namespace IpswInfo {

QString withoutColourSequences(const QString &output)
{
    static const QRegularExpression colourSequence(QStringLiteral("\x1b\\[[0-9;]*m"));
    QString cleaned = output;
    cleaned.remove(colourSequence);
    return cleaned;
}

bool listsProductType(const QString &output, const QString &productType)
{
    const QString label = QStringLiteral("Supported Product Types:");
    const QStringList lines = withoutColourSequences(output).split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        if (!line.contains(label))
            continue;
        // Spaces only: a tab is part of a word, as is any punctuation next to a product type.
        return line.split(u' ', Qt::SkipEmptyParts).contains(productType);
    }
    return false;
}

} // namespace IpswInfo
