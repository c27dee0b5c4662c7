#include "ui/shell/CommandLine.h"

#include "ui/shell/QtTranslations.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>

namespace CommandLine {
namespace {

const QString applicationName = QStringLiteral("Corvalin Studio");

struct Parser {
    QCommandLineParser parser;
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                            QStringLiteral("Показать эту справку и выйти.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                               QStringLiteral("Показать версию и выйти.")};

    Parser()
    {
        parser.setApplicationDescription(QStringLiteral(
            "Corvalin Studio стирает Apple Watch в режиме Recovery или DFU и устанавливает watchOS заново."));
        // "-reverse" or "-qwindowgeometry" are the toolkit's, not bundles of "-v" and "-h".
        parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
        parser.addOption(help);
        parser.addOption(version);
        parser.addPositionalArgument(QStringLiteral("файл.ipsw"),
                                     QStringLiteral("Образ восстановления .ipsw, который выбрать сразу."),
                                     QStringLiteral("[файл.ipsw]"));
    }
};

void print(const QString &text)
{
    std::fputs(text.toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
}

} // namespace

std::optional<int> answerWithoutWindow(int argc, char **argv)
{
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    Parser parser;
    // The toolkit's own options are still there and unknown here; only the two questions count.
    parser.parser.parse(arguments);
    if (parser.parser.isSet(parser.version)) {
        print(applicationName + u' ' + QStringLiteral(CORVALIN_VERSION) + u'\n');
        return 0;
    }
    if (parser.parser.isSet(parser.help)) {
        // The parser's headings are translated through the application object.
        QCoreApplication core(argc, argv);
        QtTranslations::install(core);
        print(parser.parser.helpText());
        return 0;
    }
    return std::nullopt;
}

Request read(const QStringList &arguments)
{
    Parser parser;
    if (!parser.parser.parse(arguments))
        return {std::nullopt, parser.parser.errorText()};
    const QStringList files = parser.parser.positionalArguments();
    if (files.size() > 1)
        return {std::nullopt, QStringLiteral("Можно открыть только один файл.")};
    if (files.isEmpty())
        return {};
    // Absolute, because a copy already running works in another folder.
    return {QFileInfo(files.constFirst()).absoluteFilePath(), std::nullopt};
}

} // namespace CommandLine
