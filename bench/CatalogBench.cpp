#include "Bench.h"

#include "catalog/AppleDBDecoder.h"
#include "catalog/CatalogService.h"
#include "catalog/FirmwareReduction.h"

#include <QSet>

#include <ctime>

namespace {

constexpr int modelCount = 40;
constexpr int modelsPerRelease = 10;

QByteArray productType(int model)
{
    return "Watch" + QByteArray::number(model / 10 + 3) + ',' + QByteArray::number(model % 10 + 1);
}

// A catalogue shaped like AppleDB's: each release serves ten of forty models, has a full image
// with an https and an http link, an OTA source, a few ignored keys, and is signed for some.
QByteArray generatedCatalogue(int releases)
{
    QByteArray json = "[";
    for (int i = 0; i < releases; ++i) {
        QByteArray devices;
        for (int m = 0; m < modelsPerRelease; ++m)
            devices += (m ? ",\"" : "\"") + productType((i * modelsPerRelease + m) % modelCount) + '"';
        const QByteArray version = QByteArray::number(i / 100) + '.' + QByteArray::number(i / 10 % 10) + '.' +
                                   QByteArray::number(i % 10);
        const QByteArray build = "B" + QByteArray::number(i);
        const QByteArray date = QByteArray::number(2015 + i % 10) + '-' + QByteArray::number(10 + i % 3) +
                                '-' + QByteArray::number(10 + i % 19);
        const QByteArray link = "updates.cdn-apple.com/fw/" + build + "/Restore.ipsw";
        if (i)
            json += ',';
        json += R"({"osStr":"watchOS","version":")" + version + R"(","build":")" + build +
                R"(","released":")" + date + R"(","beta":false,"deviceMap":[)" + devices + R"(],"signed":)" +
                (i % 3 ? QByteArray("[]") : "[" + devices + "]") +
                R"(,"sources":[{"type":"ipsw","deviceMap":[)" + devices + R"(],"links":[{"url":"https://)" +
                link + R"(","preferred":true,"active":true},)" + R"({"url":"http://)" + link +
                R"(","preferred":false,"active":true}],)" +
                R"("hashes":{"sha1":"0123456789abcdef","sha2-256":"0123456789abcdef0123456789abcdef"},)" +
                R"("size":3791368850},{"type":"ota","deviceMap":[)" + devices +
                R"(],"links":[{"url":"https://updates.cdn-apple.com/ota.zip"}]}]})";
    }
    return json + "]";
}

// CPU time of this thread, so figures stay comparable on a machine busy with other work.
double threadCpuMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

} // namespace

// Decoding and reducing the catalogue, which runs off the GUI thread at every refresh; the cost
// per release should stay flat as the catalogue grows (the real one has about a thousand).
CORVALIN_BENCHMARK(catalogDecodeAndReduce)
{
    const QStringList hosts = CatalogService::defaultAllowedHosts();
    const QSet<QString> allowedHosts(hosts.cbegin(), hosts.cend());
    const QHash<QString, QString> names{{QStringLiteral("Watch6,1"), QStringLiteral("Apple Watch Series 6")}};
    for (const int releases : {1000, 10000, 100000}) {
        const QByteArray json = generatedCatalogue(releases);
        double cpu = threadCpuMilliseconds();
        QElapsedTimer timer;
        timer.start();
        const Result<QList<AppleDBFirmware>> records = AppleDBDecoder::decode(json);
        const double decodeMs = double(timer.nsecsElapsed()) / 1e6;
        const double decodeCpuMs = threadCpuMilliseconds() - cpu;
        if (!records)
            qFatal("The generated catalogue does not decode: %s",
                   qPrintable(records.failure().description()));

        cpu = threadCpuMilliseconds();
        timer.restart();
        const QList<WatchFirmware> firmware =
            FirmwareReduction::buildFirmwareList(records.value(), names, allowedHosts);
        const double reduceMs = double(timer.nsecsElapsed()) / 1e6;
        const double reduceCpuMs = threadCpuMilliseconds() - cpu;
        if (firmware.size() != modelCount)
            qFatal("The generated catalogue reduced to %lld models", qlonglong(firmware.size()));

        const QString label =
            QStringLiteral("%1 releases (%2 MB)").arg(releases).arg(double(json.size()) / 1e6, 0, 'f', 1);
        Bench::report(label + QStringLiteral(" decode, wall"), decodeMs, QStringLiteral("ms"));
        Bench::report(label + QStringLiteral(" decode, CPU"), decodeCpuMs, QStringLiteral("ms"));
        Bench::report(label + QStringLiteral(" reduce, wall"), reduceMs, QStringLiteral("ms"));
        Bench::report(label + QStringLiteral(" reduce, CPU"), reduceCpuMs, QStringLiteral("ms"));
        Bench::report(label + QStringLiteral(" per release, CPU"),
                      (decodeCpuMs + reduceCpuMs) * 1000 / releases, QStringLiteral("µs"));
    }
}

namespace {

// One release built for, and signed for, `count` distinct product types.
QByteArray wideSignedRelease(int count)
{
    QByteArray devices;
    for (int i = 0; i < count; ++i)
        devices += (i ? ",\"Watch" : "\"Watch") + QByteArray::number(i / 100 + 1) + ',' +
                   QByteArray::number(i % 100) + '"';
    return R"([{"version":"10.0","build":"B1","deviceMap":[)" + devices + R"(],"signed":[)" + devices + "]}]";
}

// One full image whose source names the same product type `count` times, in a release with a
// long non-ASCII date.
QByteArray repeatedProductWithLongDate(int count, int dateLength)
{
    QByteArray devices;
    for (int i = 0; i < count; ++i)
        devices += i ? ",\"Watch6,1\"" : "\"Watch6,1\"";
    QByteArray date;
    while (date.size() < dateLength)
        date += "\xd0\x96"
                "e\xcc\x81"; // Cyrillic, and a letter with a combining accent
    return R"([{"version":"10.0","build":"B1","released":")" + date + R"(","signed":true,)" +
           R"("sources":[{"type":"ipsw","deviceMap":[)" + devices +
           R"(],"links":[{"url":"https://updates.cdn-apple.com/a/Watch6,1_Restore.ipsw"}]}]}])";
}

} // namespace

// Shapes a broken or hostile catalogue can take; the cost must stay in proportion to its size.
CORVALIN_BENCHMARK(catalogHostileShapes)
{
    const QStringList hosts = CatalogService::defaultAllowedHosts();
    const QSet<QString> allowedHosts(hosts.cbegin(), hosts.cend());
    const std::pair<QString, QByteArray> shapes[] = {
        {QStringLiteral("40000 product types signed by one release"), wideSignedRelease(40000)},
        {QStringLiteral("one product type 40000 times, 200 kB non-ASCII date"),
         repeatedProductWithLongDate(40000, 200000)},
    };
    for (const auto &[name, json] : shapes) {
        double cpu = threadCpuMilliseconds();
        const Result<QList<AppleDBFirmware>> records = AppleDBDecoder::decode(json);
        const double decodeCpuMs = threadCpuMilliseconds() - cpu;
        if (!records)
            qFatal("The hostile catalogue does not decode: %s", qPrintable(records.failure().description()));
        cpu = threadCpuMilliseconds();
        const QList<WatchFirmware> firmware =
            FirmwareReduction::buildFirmwareList(records.value(), {}, allowedHosts);
        const double reduceCpuMs = threadCpuMilliseconds() - cpu;
        const QString label =
            QStringLiteral("%1 (%2 MB)").arg(name).arg(double(json.size()) / 1e6, 0, 'f', 1);
        Bench::report(label + QStringLiteral(" decode, CPU"), decodeCpuMs, QStringLiteral("ms"));
        Bench::report(label + QStringLiteral(" reduce, CPU"), reduceCpuMs, QStringLiteral("ms"));
    }
}
