#include "device/identity/IdentificationListing.h"

#include <QStringList>

namespace IdentificationListing {
namespace {

const QStringList &usedKeys()
{
    static const QStringList keys{QStringLiteral("PRODUCT"), QStringLiteral("MODEL"), QStringLiteral("NAME"),
                                  QStringLiteral("MODE"), QStringLiteral("ECID")};
    return keys;
}

// Splits at the first colon only; empty pieces are dropped, so a line starting with a colon or
// ending right after its first colon gives fewer than two pieces.
QStringList splitAtFirstColon(const QString &line)
{
    const qsizetype colon = line.indexOf(u':');
    if (colon < 0)
        return {line};
    QStringList pieces;
    for (const QString &piece : {line.left(colon), line.mid(colon + 1)}) {
        if (!piece.isEmpty())
            pieces << piece;
    }
    return pieces;
}

bool isTrimmed(QChar character)
{
    return character == u'\t' || character.category() == QChar::Separator_Space;
}

// Only horizontal blanks go: a carriage return is part of the value.
QString trimmedBlanks(const QString &piece)
{
    qsizetype begin = 0;
    qsizetype end = piece.size();
    while (begin < end && isTrimmed(piece.at(begin)))
        ++begin;
    while (end > begin && isTrimmed(piece.at(end - 1)))
        --end;
    return piece.mid(begin, end - begin);
}

} // namespace

QHash<QString, QString> parse(const QString &output)
{
    QHash<QString, QString> values;
    for (const QString &line : output.split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList pieces = splitAtFirstColon(line);
        if (pieces.size() != 2)
            continue;
        const QString key = trimmedBlanks(pieces.at(0)).toUpper();
        if (usedKeys().contains(key))
            values.insert(key, trimmedBlanks(pieces.at(1)));
    }
    return values;
}

std::optional<ConnectedWatch> recoveryWatch(const QString &output)
{
    const QHash<QString, QString> values = parse(output);
    const QString product = values.value(QStringLiteral("PRODUCT"));
    if (!product.startsWith(QStringLiteral("Watch")))
        return std::nullopt;
    const QString mode = values.value(QStringLiteral("MODE"), QStringLiteral("Recovery/DFU"));
    // irecovery names a watch on its Debug USB port "DFU via Debug USB (KIS)"; such a watch is
    // restored through Configurator even when it was identified here.
    const WatchTransport transport =
        mode.contains(QStringLiteral("KIS")) ? WatchTransport::kis : WatchTransport::recoveryDfu;
    return ConnectedWatch{product,
                          values.value(QStringLiteral("MODEL"), QStringLiteral("—")),
                          values.value(QStringLiteral("NAME"), QStringLiteral("Apple Watch")),
                          mode,
                          values.value(QStringLiteral("ECID"), QStringLiteral("—")),
                          output,
                          transport};
}

} // namespace IdentificationListing
