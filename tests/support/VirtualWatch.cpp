#include "support/VirtualWatch.h"

#include "support/RealTools.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QMap>

#include <algorithm>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

// The device folder the library keeps in the sysfs view (WatchState.cpp, usbViewFolder).
const QString usbViewDevice = QStringLiteral("1-9");

QByteArray modeName(VirtualWatch::Mode mode)
{
    switch (mode) {
    case VirtualWatch::Mode::Recovery: return "recovery";
    case VirtualWatch::Mode::Dfu: return "dfu";
    case VirtualWatch::Mode::Kis: return "kis";
    case VirtualWatch::Mode::None: break;
    }
    return "none";
}

QByteArray productId(VirtualWatch::Mode mode)
{
    switch (mode) {
    case VirtualWatch::Mode::Recovery: return "1281";
    case VirtualWatch::Mode::Dfu: return "1227";
    case VirtualWatch::Mode::Kis: return "1881";
    case VirtualWatch::Mode::None: break;
    }
    return {};
}

QByteArray hex(quint64 value)
{
    return "0x" + QByteArray::number(value, 16);
}

void appendLine(const QString &path, const QByteArray &line)
{
    QFile file(path);
    if (file.open(QIODevice::Append))
        file.write(line + '\n');
}

QMap<QByteArray, QByteArray> readState(const QString &path)
{
    QMap<QByteArray, QByteArray> values;
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : file.readAll().split('\n')) {
            const qsizetype equals = line.indexOf('=');
            if (equals > 0)
                values.insert(line.left(equals), line.mid(equals + 1));
        }
    }
    return values;
}

// The lock every process of the watch takes around a change of its state.
class StateLock {
public:
    explicit StateLock(const QString &folder)
        : m_fd(::open(QFile::encodeName(folder + QStringLiteral("/state.lock")).constData(),
                      O_RDWR | O_CREAT | O_CLOEXEC, 0644))
    {
        if (m_fd >= 0)
            ::flock(m_fd, LOCK_EX);
    }
    ~StateLock()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    StateLock(const StateLock &) = delete;
    StateLock &operator=(const StateLock &) = delete;

private:
    int m_fd;
};

} // namespace

VirtualWatch::VirtualWatch(const TestPaths &paths)
    : m_paths(paths), m_folder(paths.root() + QStringLiteral("/virtual-watch"))
{
    QDir().mkpath(m_folder);
    QDir().mkpath(paths.usbDevices());
    qputenv(stateVariable, QFile::encodeName(m_folder));
    qputenv(usbViewVariable, QFile::encodeName(paths.usbDevices()));
}

VirtualWatch::~VirtualWatch()
{
    qunsetenv(stateVariable);
    qunsetenv(usbViewVariable);
}

bool VirtualWatch::available()
{
    return !QStringLiteral(CORVALIN_VIRTUAL_WATCH_LIBRARY).isEmpty() && !RealTools::folder().isEmpty();
}

const char *VirtualWatch::unavailableMessage()
{
    if (QStringLiteral(CORVALIN_VIRTUAL_WATCH_LIBRARY).isEmpty())
        return "The virtual watch stands in for libusb, which libirecovery uses only on Linux, so the "
               "tests of the real tools against it are skipped here.";
    return RealTools::unavailableMessage();
}

bool VirtualWatch::installTools()
{
    if (!available() || !RealTools::installInto(m_paths))
        return false;
    const QString target = m_paths.tool(QStringLiteral("lib/libusb-1.0.so.0"));
    QFile::remove(target);
    return QFile::copy(QStringLiteral(CORVALIN_VIRTUAL_WATCH_LIBRARY), target);
}

void VirtualWatch::attach(Mode mode, const Identity &identity)
{
    const QMap<QByteArray, QByteArray> old = readState(m_folder + QStringLiteral("/state"));
    QList<std::pair<QByteArray, QByteArray>> values{
        {"mode", modeName(mode)},
        {"generation", QByteArray::number(old.value("generation").toUInt() + 1)},
        {"stage", "iboot"},
        {"product", identity.productType},
        {"ecid", hex(identity.ecid)},
        {"nonce", identity.apNonce},
    };
    if (identity.chipId != 0)
        values.append({{"cpid", hex(identity.chipId)}, {"bdid", hex(identity.boardId)}});
    writeState(values, true);
    writeUsbView(mode);
    appendLine(m_folder + QStringLiteral("/transfers.log"), "arrive " + modeName(mode) + " iboot");
}

void VirtualWatch::attach(Mode mode)
{
    attach(mode, Identity());
}

void VirtualWatch::setFaults(const Faults &faults)
{
    writeState({{"fault_vanish_after_upload", QByteArray::number(faults.vanishAfterUpload)},
                {"fault_no_return", faults.neverComeBack ? "1" : "0"},
                {"nonce_after_ibss", faults.nonceAfterIbss}},
               false);
}

VirtualWatch::Mode VirtualWatch::mode() const
{
    settle();
    const QByteArray name = readState(m_folder + QStringLiteral("/state")).value("mode");
    for (Mode mode : {Mode::Recovery, Mode::Dfu, Mode::Kis}) {
        if (name == modeName(mode))
            return mode;
    }
    return Mode::None;
}

QStringList VirtualWatch::log() const
{
    settle();
    QFile file(m_folder + QStringLiteral("/transfers.log"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

bool VirtualWatch::logged(const QString &prefix) const
{
    const QStringList lines = log();
    return std::any_of(lines.begin(), lines.end(),
                       [&](const QString &line) { return line.startsWith(prefix); });
}

// A re-enumeration completes when someone looks at the watch after its reconnect delay; the tools
// look all the time, the test through the library's own code for it.
void VirtualWatch::settle() const
{
    static const auto settleWatch = reinterpret_cast<void (*)()>(
        QLibrary::resolve(QStringLiteral(CORVALIN_VIRTUAL_WATCH_LIBRARY), "corvalin_virtual_watch_settle"));
    if (settleWatch)
        settleWatch();
}

void VirtualWatch::writeState(const QList<std::pair<QByteArray, QByteArray>> &values, bool replace)
{
    const StateLock lock(m_folder);
    const QString path = m_folder + QStringLiteral("/state");
    QMap<QByteArray, QByteArray> state = replace ? QMap<QByteArray, QByteArray>() : readState(path);
    for (const auto &[key, value] : values)
        state.insert(key, value);
    QByteArray text;
    for (auto it = state.cbegin(); it != state.cend(); ++it)
        text += it.key() + '=' + it.value() + '\n';
    const QString temporary = path + QStringLiteral(".new");
    if (!writeFile(temporary, text) ||
        ::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(path).constData()) != 0)
        qFatal("cannot write the virtual watch's state in %s", qPrintable(m_folder));
}

void VirtualWatch::writeUsbView(Mode mode)
{
    QDir device(m_paths.usbDevices() + u'/' + usbViewDevice);
    if (mode == Mode::None) {
        device.removeRecursively();
        return;
    }
    device.mkpath(QStringLiteral("."));
    if (!writeFile(device.filePath(QStringLiteral("idVendor")), "05ac\n") ||
        !writeFile(device.filePath(QStringLiteral("idProduct")), productId(mode) + '\n'))
        qFatal("cannot write the virtual watch's USB view");
}
